// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <functional>
#include <sstream>

#include "base/json_text.h"
#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/cache_history.h"
#include "imaging/map_picture.h"
#include "imaging/mapfile.h"
#include "imaging/output_file.h"
#include "platform/system_error.h"
#include "platform/terminal.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"

namespace larkspur::cli {
namespace {

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
  const u32 width = std::max(platform::TerminalColumns(), 3u) - 2;
  const MapGrid grid = MakeMapGrid(image, width);
  std::string bar;
  for (const StatusCounts& cell : grid.cells) {
    const CellLook look = LookOf(cell);
    bar += look.unreadable ? '!' : look.shade == 255 ? '#' : look.shade == 0 ? '.' : '+';
  }
  Print(fmt::format("[{}]\n# present  + partly  . missing  ! unreadable; each {}, {}\n\n", bar,
                    CountText(grid.sectorsPerCell, "sector"),
                    SizeText(grid.sectorsPerCell << kSectorShift)));
}

void PrintExtents(cKVRSparseIO* image) {
  if (platform::IsOutputATerminal()) PrintBar(image);
  Print(fmt::format("{:>14} {:>14}  status\n", "start", "sectors"));
  image->VisitExtents(0, image->GetSectorCount(), [](u64 start, u64 count, SectorStatus status) {
    Print(fmt::format("{:>14} {:>14}  {}\n", start, count, StatusName(status)));
    return true;
  });
}

// Missing sectors that failed together with others are '*', those that failed alone, too, and were
// never marked, are '/': ddrescue resumes both as it does its own.
std::string MapfileOf(cKVRSparseIO* image, const std::string& path) {
  const u64 sectors = image->GetSectorCount();
  // That the log cannot be read is told of as damage.
  const RescueHistory history =
      HistoryOf(WideFromUtf8(path), image->Layout()).value_or(RescueHistory());
  const StatusCounts counts = CountStatuses(image, 0, sectors);
  std::ostringstream out;
  MapfileWriter writer(out, counts.missing + counts.unknown == 0);
  image->VisitExtents(0, sectors, [&](u64 start, u64 count, SectorStatus status) {
    if (status != kMissing) {
      writer.Add(start, count, MapfileStatus(status));
      return true;
    }
    for (u64 at = start; at < start + count;) {
      u64 end = start + count;
      char letter = '?';
      for (const auto& [tried, name] :
           {std::pair{&history.triedAlone, '/'}, std::pair{&history.triedTogether, '*'}}) {
        const auto next = tried->NextFrom(at);
        if (!next || next->first >= end) continue;
        if (next->first > at) {
          end = next->first;
        } else if (letter == '?') {
          end = std::min(end, next->End());
          letter = name;
        }
      }
      writer.Add(at, end - at, letter);
      at = end;
    }
    return true;
  });
  return out.str();
}

// Writes the bytes that `draw` makes; nothing to do without a path.
ExitStatus WriteOrTell(const std::string& path, const MapOptions& options,
                       const std::function<std::string()>& draw) {
  if (path.empty()) return kExitDone;
  return WriteFileOrTell(path, options.force, FilesOf(options.cache), draw);
}

// What two of the outputs would be written to; empty: each has a place of its own.
std::string SharedOutput(const MapOptions& options) {
  std::vector<std::string> taken;
  if (options.json) taken.push_back("-");
  for (const std::string& path : {options.png, options.svg, options.mapfile}) {
    if (path.empty()) continue;
    const std::string place =
        path == "-" ? path : Utf8FromWide(platform::FullPath(WideFromUtf8(path).c_str()));
    if (std::find(taken.begin(), taken.end(), place) != taken.end()) return path;
    taken.push_back(place);
  }
  return {};
}

}  // namespace

ExitStatus RunMap(const MapOptions& options) {
  if (const std::string shared = SharedOutput(options); !shared.empty()) {
    Tell(fmt::format("map: two outputs cannot both go to {}; name another file for one of them",
                     shared == "-" ? "standard output" : shared));
    return kExitUsage;
  }
  auto cache = OpenCacheToLook(options.cache);
  if (!cache) return cache.error();
  cKVRSparseIO* image = cache->image.get();
  const struct {
    const std::string& path;
    std::function<std::string()> draw;
  } outputs[] = {
      {options.png, [&] { return DrawMapPng(image, options.cache); }},
      {options.svg, [&] { return DrawMapSvg(image, options.cache); }},
      {options.mapfile, [&] { return MapfileOf(image, options.cache); }},
  };
  bool wroteFile = false;
  for (const auto& output : outputs) {
    const ExitStatus status = WriteOrTell(output.path, options, output.draw);
    if (status != kExitDone) return status;
    wroteFile = wroteFile || !output.path.empty();
  }
  if (options.json) {
    PrintExtentsJson(image, options.cache);
  } else if (!wroteFile) {
    PrintExtents(image);
  }
  const u64 unknown = CountStatuses(image, 0, image->GetSectorCount()).unknown;
  return TellDamage(options.cache, *cache, unknown, kExitDone);
}

}  // namespace larkspur::cli
