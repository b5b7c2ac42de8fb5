// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/storages.h"
#include "imaging/cache.h"
#include "imaging/import.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"
#include "platform/terminal.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"

namespace larkspur::cli {
namespace {

Result<ImportPlan, ExitStatus> ReadPlan(const std::string& path) {
  const auto blocks = ReadMapfile(WideFromUtf8(path));
  if (!blocks) return Failed(Fail(Failure(path, MapfileWords(blocks.error()))));
  ImportPlan plan = PlanImport(*blocks);
  if (plan.sectors == 0) return Failed(Fail(path + ": the mapfile covers no sector"));
  if (plan.sectors >= kMaxSparseSectors) {
    return Failed(Fail(fmt::format("{}: the mapfile covers {} sectors; a cache holds fewer than {}",
                                   path, plan.sectors, kMaxSparseSectors)));
  }
  return plan;
}

std::string SizeWords(const ImportOptions& options, const ImportPlan& plan, u64 imageBytes) {
  const bool longer = imageBytes > plan.sectors << kSectorShift;
  return fmt::format(
      "{}: the image has {} bytes, but {} {}; does it belong to another rescue?", options.image,
      imageBytes, options.mapfile,
      longer ? fmt::format("covers {} bytes", (plan.sectors << kSectorShift) + plan.trailingBytes)
             : "says that sectors past its end were read");
}

ExitStatus TellEnd(const ImportResult& result, const ImportPlan& plan,
                   const ImportOptions& options) {
  switch (result.end) {
    case ImportEnd::kDone:
      return kExitDone;
    case ImportEnd::kStopped:
      Tell(options.cache + ": stopped; no cache was made");
      return kExitInterrupted;
    case ImportEnd::kCacheExists:
      return Fail(options.cache + ": this already exists; choose another name");
    case ImportEnd::kCannotCreate:
      return Fail(Failure(options.cache, "the cache cannot be created", result.systemError));
    case ImportEnd::kImageUnopened:
      return Fail(Failure(options.image, CannotOpenWords(result.systemError)));
    case ImportEnd::kImageLonger:
    case ImportEnd::kImageShorter:
      return Fail(SizeWords(options, plan, result.imageBytes));
    case ImportEnd::kImageFailed:
      return Fail(Failure(options.image,
                          fmt::format("the image cannot be read near sector {}; no cache was made",
                                      result.failedSector),
                          result.systemError));
    case ImportEnd::kWriteFailed:
      return Fail(Failure(options.cache, "the cache could not be written; none was made",
                          result.systemError));
  }
  return kExitFailed;
}

void PrintResult(const ImportPlan& plan, const StatusCounts& counts, bool json) {
  if (json) {
    PrintJson({{"sectors", plan.sectors},
               {"present", counts.present},
               {"unreadable", counts.unreadable},
               {"missing", counts.missing}});
    return;
  }
  PrintCounts(counts, plan.sectors);
}

std::vector<std::u16string> UsedBy(const ImportOptions& options) {
  return {WideFromUtf8(options.image), WideFromUtf8(options.mapfile), WideFromUtf8(options.cache)};
}

// What ddrescue read in vain, and not sector by sector: the log remembers that it was tried.
ExitStatus NoteTried(const ImportOptions& options, const ImportPlan& plan,
                     const StatusCounts& counts) {
  const auto cache = OpenCache(WideFromUtf8(options.cache), CacheAccess::kLook, plan.sectors);
  if (!cache) return Fail(CacheFailure(options.cache, cache.error()));
  SourceIdentity source;
  source.path = options.image;
  source.sectors = plan.sectors;
  const auto log = FileLog::Open(LogPathOf(WideFromUtf8(options.cache)), UsedBy(options));
  if (!log) return Fail(LogWords(options.cache, log.error()));
  (*log)->Write(LogEvent("open")
                    .Add("version", LARKSPUR_VERSION)
                    .Add("source", source)
                    .Add("stamp", u64{cache->image->Layout().stamp}));
  for (const SectorRange& range : plan.tried) {
    (*log)->Write(LogEvent("failed")
                      .Add(range)
                      .Add("alone", false)
                      .Add("kind", FailureKindName(FailureKind::kUnclear)));
  }
  (*log)->Write(LogEvent("end").Add("how", "done").Add(counts));
  (*log)->Sync();
  if (const u32 code = (*log)->Failure()) {
    Tell(Failure(options.cache + ".log",
                 "the log cannot be written; what ddrescue tried will be read again", code));
  }
  return kExitDone;
}

}  // namespace

ExitStatus RunImport(const ImportOptions& options) {
  const std::atomic<bool>& stop = platform::InterruptFlag();
  const auto read = ReadPlan(options.mapfile);
  if (!read) return read.error();
  const ImportPlan& plan = *read;
  if (plan.trailingBytes > 0) {
    Tell(fmt::format("{}: the last {} bytes are not a whole sector and are left out",
                     options.mapfile, plan.trailingBytes));
  }
  if (const auto fault = FaultOfLog(LogPathOf(WideFromUtf8(options.cache)), UsedBy(options))) {
    return Fail(LogWords(options.cache, *fault));
  }
  u64 all = 0;
  for (const SectorRange& range : plan.present) all += range.count;
  ProgressLine line;
  const ImportResult result = ImportRescue(WideFromUtf8(options.image), plan,
                                           WideFromUtf8(options.cache), stop, [&](u64 present) {
                                             line.Show({all, present}, present, all - present);
                                           });
  if (result.end != ImportEnd::kDone) return TellEnd(result, plan, options);
  const ExitStatus noted = NoteTried(options, plan, result.counts);
  PrintResult(plan, result.counts, options.json);
  return noted;
}

}  // namespace larkspur::cli
