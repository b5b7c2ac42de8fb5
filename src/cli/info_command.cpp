// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/summary.h"

namespace larkspur::cli {
namespace {

void PrintText(const std::string& path, const SparseLayout& layout, const StatusCounts& counts,
               u64 allocated, u64 fileSize) {
  const auto share = [&layout](u64 sectors) {
    return fmt::format("{}, {} ({})", CountText(sectors, "sector"),
                       SizeText(sectors << kSectorShift), PercentText(sectors, layout.sectorCount));
  };
  Print(fmt::format("cache       {}\n", path));
  Print(fmt::format("size        {}, {}\n", CountText(layout.sectorCount, "sector"),
                    SizeText(layout.sectorCount << kSectorShift)));
  Print(fmt::format("present     {}\n", share(counts.present)));
  Print(fmt::format("unreadable  {}\n", share(counts.unreadable)));
  Print(fmt::format("missing     {}\n", share(counts.missing)));
  if (counts.unknown > 0) Print(fmt::format("unknown     {}\n", share(counts.unknown)));
  Print(fmt::format("blocks      {} of {} allocated, {} sectors each\n", allocated,
                    layout.BlockCount(), layout.blockSize));
  Print(fmt::format("file        {}, version {:#010x}, stamp {:#010x}\n", SizeText(fileSize),
                    layout.version, layout.stamp));
}

}  // namespace

ExitStatus RunInfo(const std::string& path, bool json) {
  auto cache = OpenCacheToLook(path);
  if (!cache) return cache.error();
  cKVRSparseIO* image = cache->image.get();
  const SparseLayout& layout = image->Layout();
  const StatusCounts counts = CountStatuses(image, 0, layout.sectorCount);
  const u64 allocated = image->SurveyIndex().records;
  const u64 fileSize = cache->fileBytes;
  if (!json) {
    PrintText(path, layout, counts, allocated, fileSize);
    return TellDamage(path, *cache, counts.unknown, kExitDone);
  }
  PrintJson({{"path", path},
             {"sectors", layout.sectorCount},
             {"blockSize", layout.blockSize},
             {"version", layout.version},
             {"stamp", layout.stamp},
             {"blocks", layout.BlockCount()},
             {"allocatedBlocks", allocated},
             {"present", counts.present},
             {"unreadable", counts.unreadable},
             {"missing", counts.missing},
             {"unknown", counts.unknown},
             {"fileSize", fileSize}});
  return TellDamage(path, *cache, counts.unknown, kExitDone);
}

}  // namespace larkspur::cli
