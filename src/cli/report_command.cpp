// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/commands.h"
#include "cli/report_facts.h"
#include "cli/storages.h"
#include "platform/terminal.h"

namespace larkspur::cli {

ExitStatus RunReport(const ReportOptions& options) {
  platform::InterruptFlag();
  auto cache = OpenCacheToLook(options.cache);
  if (!cache) return cache.error();
  ReportFacts facts = GatherFacts(options.cache, cache->image.get());
  GatherFiles(cache->image.get(), &facts.files.emplace());
  if (platform::InterruptFlag()) return kExitInterrupted;
  return WriteFileOrTell(options.output, options.force, FilesOf(options.cache),
                         [&] { return WriteReport(cache->image.get(), facts); });
}

}  // namespace larkspur::cli
