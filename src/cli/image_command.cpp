// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/image_domain.h"
#include "cli/live_report.h"
#include "cli/output.h"
#include "cli/progress.h"
#include "cli/rescue.h"
#include "platform/helper_process.h"
#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

void PrintResult(const RescueProgress& progress, double seconds, const ImageOptions& options) {
  const StatusCounts& all = progress.all;
  if (options.json) {
    PrintJson({{"sectors", progress.sectors},
               {"present", all.present},
               {"unreadable", all.unreadable},
               {"missing", all.missing},
               {"readFromSource", progress.asked},
               {"seconds", seconds}});
    return;
  }
  PrintCounts(all, progress.sectors);
  Print(fmt::format("{} read from {} in this run, in {}.\n", CountText(progress.asked, "sector"),
                    options.source, FormatDuration(seconds)));
}

void WarnOfLittleRoom(const std::string& cache, const SparseLayout& layout, u64 missingSectors) {
  const auto room = platform::FreeBytes(WideFromUtf8(cache).c_str());
  const u64 wanted = layout.GrowthBytes(missingSectors);
  if (!room || *room >= wanted) return;
  Tell(
      fmt::format("{}: the cache may need {} more, but only {} is free; reading stops when the "
                  "disk is full, and can be resumed",
                  cache, SizeText(wanted), SizeText(*room)));
}

// What can be said before the source is opened and a cache is made.
ExitStatus CheckOptions(const ImageOptions& options) {
  const auto kind = platform::KindOfPath(WideFromUtf8(options.cache).c_str());
  if (options.retry && kind == platform::PathKind::kAbsent) {
    return Fail(options.cache +
                ": there is no such cache, so no unreadable sector is known; is it in another "
                "folder?");
  }
  if (options.used && !platform::HasHelpers()) {
    return Fail(options.source +
                ": --used is not in this build, which cannot read file systems; leave it out, or "
                "attach the disk to a Linux machine");
  }
  return kExitDone;
}

}  // namespace

ExitStatus RunImage(const ImageOptions& options) {
  if (const ExitStatus status = CheckOptions(options); status != kExitDone) return status;
  const auto chosen = ReadChosen(options);
  if (!chosen) return chosen.error();
  LiveReport report(options);
  if (const ExitStatus status = report.Judge(); status != kExitDone) return status;
  Rescue rescue;
  AskedSource* source = nullptr;
  EngineOptions engine;
  engine.scrape = options.scrape;
  engine.reverse = options.reverse;
  engine.maxFailures = options.maxFailures;
  engine.maxBytesPerSecond = options.maxRate;
  engine.onSilent = WakeBy(options.whenSilent, &source);
  if (const ExitStatus status = rescue.Open(options, std::move(engine)); status != kExitDone) {
    return status;
  }
  source = rescue.Asked();
  if (const ExitStatus status = report.Open(); status != kExitDone) return status;
  report.Update(rescue.Image());
  RescueProgressLine line(options.jsonProgress);
  rescue.engine().OnProgress([&](const RescueProgress& progress) {
    line.Show(progress);
    report.Update(rescue.Image());
  });
  const auto domain = MakeDomain(&rescue, options, *chosen);
  if (!domain) {
    const ExitStatus end = rescue.Finish(domain.error());
    return report.Finish(rescue.Image(), end);
  }
  if (rescue.engine().Want(*domain)) {
    WarnOfLittleRoom(options.cache, rescue.Image()->Layout(),
                     rescue.engine().Progress().domain.missing);
    options.retry ? rescue.engine().Retry(*domain) : rescue.engine().Image();
  }
  const ExitStatus early = rescue.Finish();
  PrintResult(rescue.engine().Progress(), line.Seconds(), options);
  const ExitStatus end = Rescue::StatusOf(rescue.engine().Progress().domain);
  return report.Finish(rescue.Image(), early != kExitDone ? early : end);
}

}  // namespace larkspur::cli
