// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/storages.h"
#include "imaging/imager.h"
#include "imaging/size_text.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

void PrintResult(const ImagingProgress& progress, double seconds, const SourceOptions& options) {
  const StatusCounts& counts = progress.counts;
  if (options.json) {
    PrintJson({{"sectors", progress.sectors},
               {"present", counts.present},
               {"unreadable", counts.unreadable},
               {"missing", counts.missing},
               {"readFromSource", progress.asked},
               {"seconds", seconds}});
    return;
  }
  const auto line = [&progress](const char* name, u64 count) {
    Print(fmt::format("{:<11} {:>14} sectors  {:>10}  {:>7}\n", name, count,
                      SizeText(count << kSectorShift), PercentText(count, progress.sectors)));
  };
  line("present", counts.present);
  line("unreadable", counts.unreadable);
  line("missing", counts.missing);
  Print(fmt::format("{} sectors were asked of {} in this run, in {}.\n", progress.asked,
                    options.source, FormatDuration(seconds)));
}

void WarnOfLittleRoom(const std::string& cache, u64 missingSectors) {
  const auto room = platform::FreeBytes(WideFromUtf8(cache).c_str());
  const u64 wanted = missingSectors << kSectorShift;
  if (!room || *room >= wanted) return;
  Tell(
      fmt::format("{}: up to {} are still to be stored, but there is room for {} only; "
                  "it goes on until the room is used up, and can be resumed",
                  cache, SizeText(wanted), SizeText(*room)));
}

}  // namespace

ExitStatus RunImage(const SourceOptions& options) {
  const std::atomic<bool>& stop = platform::InterruptFlag();
  Pair pair;
  if (const ExitStatus status = OpenPair(options, &pair); status != kExitDone) return status;
  cImager imager(&pair.cache, &pair.source, &stop);
  imager.Prepare(pair.first, pair.count);
  WarnOfLittleRoom(options.cache, imager.Progress().left);
  ProgressLine line;
  std::optional<u64> doneBefore;
  const ReadEnd end = imager.Run([&](const ImagingProgress& progress) {
    const u64 done = progress.counts.present + progress.counts.unreadable;
    if (!doneBefore) doneBefore = done;
    line.Show({progress.sectors, done, progress.counts.unreadable}, done - *doneBefore,
              progress.left);
  });
  line.Finish();
  PrintResult(imager.Progress(), line.Seconds(), options);
  if (end != ReadEnd::kNotEnded) return TellReadEnd(end, imager.SystemError(), options);
  return imager.Progress().counts.unreadable > 0 ? kExitSomeUnreadable : kExitDone;
}

}  // namespace larkspur::cli
