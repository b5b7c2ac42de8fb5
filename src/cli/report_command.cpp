// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

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
  if (cache->damage) facts.damage = CacheFailure(options.cache, *cache->damage);
  GatheredFiles gathered = GatherFiles(cache->image.get());
  facts.files = std::move(gathered.files);
  if (platform::InterruptFlag()) return kExitInterrupted;
  const ExitStatus status = WriteFileOrTell(options.output, options.force, FilesOf(options.cache),
                                            [&] { return WriteReport(cache->image.get(), facts); });
  const u64 unknown = CountStatuses(cache->image.get(), 0, cache->image->GetSectorCount()).unknown;
  return TellDamage(options.cache, *cache, std::max(unknown, gathered.unknown), status);
}

}  // namespace larkspur::cli
