// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/partition.h"
#include "cli/rescue.h"
#include "cli/storages.h"
#include "cli/tree_text.h"
#include "partitions/detection.h"
#include "platform/system_error.h"
#include "rescue/rescue_io.h"

namespace larkspur::cli {
namespace {

std::string Asker(const ScanRequest& request) {
  return fmt::format("{:>12} {:>6}  {}{}\n", request.sector, request.count, request.asker,
                     request.delivered < request.count ? ", not all of them readable" : "");
}

Json TraceJson(const ScanTrace& trace) {
  Json list = Json::Array();
  for (const ScanRequest& request : trace) {
    list.Add({{"start", request.sector},
              {"sectors", request.count},
              {"delivered", request.delivered},
              {"asker", request.asker}});
  }
  return list;
}

void PrintTree(const TreeOptions& options, const cPartTreeItem& root, const TreeNotes& notes,
               bool understood, const ScanTrace& trace) {
  if (options.json) {
    Json document = {{"path", options.source},
                     {"sectors", root.m_length},
                     {"ok", understood},
                     {"tree", Json::Array()}};
    document["tree"].Add(TreeJson(root, notes));
    if (options.trace) document["trace"] = TraceJson(trace);
    PrintJson(document);
    return;
  }
  Print(TreeTable(root, notes));
  if (!options.trace) return;
  Print(fmt::format("\n{:>12} {:>6}  read for\n", "start", "count"));
  for (const ScanRequest& request : trace) Print(Asker(request));
}

// Builds and shows the tree of `io`, which reads from the cache if there is one.
ExitStatus ShowTree(const TreeOptions& options, cBaseIO* io, Cache* cache) {
  PartitionTree tree;
  ScanTrace trace;
  TreeNotes notes;
  Obstacles met;
  const ScanOptions scan{.trace = &trace,
                         .notes = options.noNotes ? nullptr : &notes,
                         .forPeople = true,
                         .fromBackupGpt = options.backupGpt,
                         .cache = cache ? cache->image.get() : nullptr,
                         .obstacles = &met};
  const bool understood = BuildPartitionTree(tree.Head(), io, scan);
  if (!tree.Root()) return Fail(options.source + ": the storage has no sectors");
  if (options.backupGpt && !understood) {
    TellObstacles(options.source, true, met);
    return Fail(options.source +
                ": no intact backup GUID table was found at its end, nor where its primary table "
                "says");
  }
  PrintTree(options, *tree.Root(), notes, understood, trace);
  TellObstacles(options.source, understood, met);
  const ExitStatus status = met.unread.empty() ? kExitDone : kExitSomeUnreadable;
  if (!cache) return status;
  const std::string& name = options.cache.empty() ? options.source : options.cache;
  return TellDamage(name, *cache, CountUnread(met).unknown, status);
}

ExitStatus ShowThroughCache(const TreeOptions& options) {
  Rescue rescue;
  if (const ExitStatus status = rescue.Open(options); status != kExitDone) return status;
  cRescueIO storage(&rescue.engine());
  const ExitStatus status = ShowTree(options, &storage, rescue.TheCache());
  return rescue.Finish(status);
}

}  // namespace

ExitStatus RunTree(const TreeOptions& options) {
  if (!options.cache.empty()) return ShowThroughCache(options);
  if (auto cache = OpenIfCache(WideFromUtf8(options.source))) {
    if (!*cache && cache->error().kind == CacheFaultKind::kCannotOpen) {
      return Fail(Failure(options.source, CannotOpenWords(cache->error().systemError)));
    }
    if (!*cache) return Fail(CacheFailure(options.source, cache->error()));
    return ShowTree(options, (*cache)->image.get(), &**cache);
  }
  auto source = OpenSourceOrTell(options);
  if (!source) return source.error();
  // The system counts such sectors wrongly, or not at all.
  const u32 sectorBytes = source->asked->Identity().logicalSectorBytes;
  if (sectorBytes % kSectorBytes != 0) {
    return Fail(
        fmt::format("{}: sectors of {} bytes are only read into a cache; name one with --cache",
                    options.source, sectorBytes));
  }
  return ShowTree(options, source->io.get(), nullptr);
}

}  // namespace larkspur::cli
