// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <nlohmann/json.hpp>

#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/rescue.h"
#include "cli/storages.h"
#include "cli/tree_text.h"
#include "imaging/size_text.h"
#include "imaging/summary.h"
#include "partitions/detection.h"
#include "platform/system_error.h"
#include "rescue/rescue_io.h"

namespace larkspur::cli {
namespace {

// What detection met on its way.
struct Obstacles {
  u64 unreadable = 0;  // sectors
  u64 missing = 0;     // sectors that the cache does not have
  u64 unknown = 0;     // sectors of which the cache cannot be read
};

std::string Asker(const ScanRequest& request) {
  return fmt::format("{:>12} {:>6}  {}{}\n", request.sector, request.count, request.asker,
                     request.delivered < request.count ? ", not all of them readable" : "");
}

Json TraceJson(const ScanTrace& trace) {
  Json list = Json::array();
  for (const ScanRequest& request : trace) {
    list.push_back({{"start", request.sector},
                    {"sectors", request.count},
                    {"delivered", request.delivered},
                    {"asker", request.asker}});
  }
  return list;
}

void TellObstacles(const std::string& name, bool understood, const Obstacles& obstacles) {
  if (obstacles.missing > 0) {
    Tell(
        fmt::format("{}: {} of the sectors looked at are not in the cache and count as zeros; "
                    "the tree may be incomplete",
                    name, obstacles.missing));
  }
  if (obstacles.unreadable > 0) {
    Tell(fmt::format("{}: {} of the sectors looked at are unreadable; the tree may be incomplete",
                     name, obstacles.unreadable));
  }
  if (!understood && obstacles.unreadable == 0) {
    Tell(name + ": some of it could not be read or understood; the tree shows what was found");
  }
}

void PrintTree(const TreeOptions& options, const cPartTreeItem& root, const TreeNotes& notes,
               bool understood, const ScanTrace& trace) {
  if (options.json) {
    Json document = {{"path", options.source},
                     {"sectors", root.m_length},
                     {"ok", understood},
                     {"tree", Json::array({TreeJson(root, notes)})}};
    if (options.trace) document["trace"] = TraceJson(trace);
    PrintJson(document);
    return;
  }
  Print(TreeTable(root, notes));
  if (!options.trace) return;
  Print(fmt::format("\n{:>12} {:>6}  read for\n", "start", "count"));
  for (const ScanRequest& request : trace) Print(Asker(request));
}

// Builds and shows the tree of `io`. With a cache, the sectors that were looked at are looked up
// in it afterwards.
ExitStatus ShowTree(const TreeOptions& options, cBaseIO* io, Cache* cache) {
  PartitionTree tree;
  ScanTrace trace;
  TreeNotes notes;
  const ScanOptions scan{.trace = &trace,
                         .notes = options.noNotes ? nullptr : &notes,
                         .forPeople = true,
                         .fromBackupGpt = options.backupGpt};
  const bool understood = BuildPartitionTree(tree.Head(), io, scan);
  if (!tree.Root()) return Fail(options.source + ": the storage has no sectors");
  if (options.backupGpt && !understood) {
    return Fail(options.source + ": there is no intact backup GUID table at its end");
  }
  Obstacles obstacles;
  for (const ScanRequest& request : trace) {
    obstacles.unreadable += request.delivered < request.count;
    if (!cache) continue;
    const StatusCounts counts = CountStatuses(cache->image.get(), request.sector, request.count);
    obstacles.unreadable += counts.unreadable;
    obstacles.missing += counts.missing;
    obstacles.unknown += counts.unknown;
  }
  PrintTree(options, *tree.Root(), notes, understood, trace);
  TellObstacles(options.source, understood, obstacles);
  const ExitStatus status = obstacles.unreadable > 0 ? kExitSomeUnreadable : kExitDone;
  if (!cache) return status;
  const std::string& name = options.cache.empty() ? options.source : options.cache;
  return TellDamage(name, *cache, obstacles.unknown, status);
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
    if (!*cache) return Fail(CacheWords(options.source, cache->error()));
    return ShowTree(options, (*cache)->image.get(), &**cache);
  }
  auto source = OpenSourceOrTell(options);
  return source ? ShowTree(options, source->io.get(), nullptr) : source.error();
}

}  // namespace larkspur::cli
