// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/storages.h"
#include "imaging/export.h"
#include "imaging/size_text.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

ExitStatus TellEnd(const ExportResult& result, const ExportOptions& options) {
  switch (result.end) {
    case ExportEnd::kDone:
      return kExitDone;
    case ExportEnd::kStopped:
      Tell(options.output + ": stopped; the file is not complete");
      return kExitInterrupted;
    case ExportEnd::kTargetExists:
      return Fail(options.output +
                  ": this exists already; choose another name (--force replaces a file)");
    case ExportEnd::kCannotCreate:
      return Fail(Failure(options.output, "the file cannot be made", result.systemError));
    case ExportEnd::kWriteFailed:
      return Fail(Failure(options.output, "the file cannot be written; it is not complete",
                          result.systemError));
    case ExportEnd::kCacheFailed:
      return Fail(Failure(options.cache, "the cache cannot be read; try 'larkspur check'",
                          result.systemError));
  }
  return kExitFailed;
}

}  // namespace

ExitStatus RunExport(const ExportOptions& options) {
  const std::atomic<bool>& stop = platform::InterruptFlag();
  auto cache = OpenCacheToLook(options.cache);
  if (!cache) return kExitFailed;
  const std::u16string output = WideFromUtf8(options.output);
  if (platform::AreSameFile(output.c_str(), WideFromUtf8(options.cache).c_str())) {
    return Fail(options.output + ": this is the cache itself; choose another name");
  }
  ProgressLine line;
  const u64 sectors = cache->cacheSectors;
  const ExportResult result =
      ExportRaw(cache->image.get(), output, options.force, stop, [&](u64 done) {
        line.Show({sectors, done}, done, sectors - done);
      });
  line.Finish();
  if (result.end != ExportEnd::kDone) return TellEnd(result, options);
  const StatusCounts& counts = result.counts;
  Tell(fmt::format("{}: {} written; {} unreadable and {} missing sectors read as zeros",
                   options.output, SizeText(sectors << kSectorShift), counts.unreadable,
                   counts.missing));
  return counts.unreadable > 0 ? kExitSomeUnreadable : kExitDone;
}

}  // namespace larkspur::cli
