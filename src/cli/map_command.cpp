// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <sstream>

#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/map_grid.h"
#include "imaging/map_picture.h"
#include "imaging/mapfile.h"
#include "imaging/size_text.h"
#include "imaging/text_file.h"
#include "platform/system_error.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

const char* StatusName(SectorStatus status) {
  return status == kPresent ? "present" : status == kUnreadable ? "unreadable" : "missing";
}

char MapfileStatus(SectorStatus status) {
  return status == kPresent ? '+' : status == kUnreadable ? '-' : '?';
}

// Written piece by piece: a worn disk may have millions of extents.
void PrintExtentsJson(cKVRSparseIO* image, const std::string& path) {
  const u64 sectors = image->GetSectorCount();
  Print(fmt::format("{{\"path\":{},\"sectors\":{},\"extents\":[", JsonText(path), sectors));
  const char* separator = "\n";
  image->VisitExtents(0, sectors, [&separator](u64 start, u64 count, SectorStatus status) {
    Print(fmt::format("{}{{\"start\":{},\"sectors\":{},\"status\":\"{}\"}}", separator, start,
                      count, StatusName(status)));
    separator = ",\n";
    return true;
  });
  Print("\n]}\n");
}

// One line of the terminal's width: '!' where anything is unreadable, else how much is there.
void PrintBar(cKVRSparseIO* image) {
  const u32 width = platform::TerminalColumns() - 2;
  const MapGrid grid = MakeMapGrid(image, width);
  std::string bar;
  for (const StatusCounts& cell : grid.cells) {
    const CellLook look = LookOf(cell);
    bar += look.unreadable ? '!' : look.shade == 255 ? '#' : look.shade == 0 ? '.' : '+';
  }
  Print(fmt::format("[{}]\n# present  + partly  . missing  ! unreadable; each {} sectors, {}\n\n",
                    bar, grid.sectorsPerCell, SizeText(grid.sectorsPerCell << kSectorShift)));
}

void PrintExtents(cKVRSparseIO* image) {
  if (platform::IsOutputATerminal()) PrintBar(image);
  Print(fmt::format("{:>14} {:>14}  status\n", "start", "sectors"));
  image->VisitExtents(0, image->GetSectorCount(), [](u64 start, u64 count, SectorStatus status) {
    Print(fmt::format("{:>14} {:>14}  {}\n", start, count, StatusName(status)));
    return true;
  });
}

std::string MapfileOf(cKVRSparseIO* image) {
  const u64 sectors = image->GetSectorCount();
  std::ostringstream out;
  MapfileWriter writer(out, CountStatuses(image, 0, sectors).missing == 0);
  image->VisitExtents(0, sectors, [&writer](u64 start, u64 count, SectorStatus status) {
    writer.Add(start, count, MapfileStatus(status));
    return true;
  });
  return out.str();
}

bool WriteOrTell(const std::string& path, const std::string& bytes) {
  if (WriteWholeFile(WideFromUtf8(path), bytes)) return true;
  Tell(Failure(path, "the file cannot be written", platform::LastFailure()));
  return false;
}

}  // namespace

ExitStatus RunMap(const MapOptions& options) {
  auto cache = OpenCacheToLook(options.cache);
  if (!cache) return kExitFailed;
  cKVRSparseIO* image = cache->image.get();
  for (const std::string& path : {options.png, options.svg, options.mapfile}) {
    if (platform::AreSameFile(WideFromUtf8(path).c_str(), WideFromUtf8(options.cache).c_str())) {
      return Fail(path + ": the output would overwrite the cache");
    }
  }
  if (!options.png.empty() && !WriteOrTell(options.png, DrawMapPng(image, options.cache))) {
    return kExitFailed;
  }
  if (!options.svg.empty() && !WriteOrTell(options.svg, DrawMapSvg(image, options.cache))) {
    return kExitFailed;
  }
  if (!options.mapfile.empty() && !WriteOrTell(options.mapfile, MapfileOf(image))) {
    return kExitFailed;
  }
  const bool wroteFile = !options.png.empty() || !options.svg.empty() || !options.mapfile.empty();
  if (options.json) {
    PrintExtentsJson(image, options.cache);
  } else if (!wroteFile) {
    PrintExtents(image);
  }
  return kExitDone;
}

}  // namespace larkspur::cli
