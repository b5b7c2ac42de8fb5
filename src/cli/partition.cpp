// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/partition.h"

#include "base/size_text.h"
#include "cli/output.h"
#include "imaging/tree_words.h"
#include "io/base_io.h"
#include "partitions/detection.h"
#include "partitions/place.h"
#include "rescue/engine.h"

namespace larkspur::cli {

StatusCounts CountUnread(const Obstacles& met) {
  StatusCounts counts;
  for (const UnreadNote& unread : met.unread) counts.Add(unread.status, unread.sectors);
  return counts;
}

void TellObstacles(const std::string& name, bool isUnderstood, const Obstacles& met) {
  const StatusCounts unread = CountUnread(met);
  for (const auto& [sectors, what] :
       {std::pair(unread.missing, "not in the cache yet"),
        std::pair(unread.unreadable, "unreadable"),
        std::pair(unread.unknown, "in a part of the cache that cannot be read")}) {
    if (sectors == 0) continue;
    Tell(fmt::format(
        "{}: {} of the sectors that were needed {} {}; partitions may be missing or have other "
        "places",
        name, sectors, sectors == 1 ? "is" : "are", what));
  }
  for (const LimitNote& limit : met.limits) Tell(name + ": " + NoteText(limit));
  if (!isUnderstood && met.unread.empty()) {
    Tell(name + ": some of what tells where partitions lie could not be read or understood");
  }
}

Result<SectorRange, ExitStatus> FindPartition(cBaseIO* storage, cKVRSparseIO* cache,
                                              const std::string& name, const std::string& place,
                                              const Engine* engine) {
  PartitionTree tree;
  Obstacles met;
  const bool isUnderstood = BuildPartitionTree(
      tree.Head(), storage, {.forPeople = true, .cache = cache, .obstacles = &met});
  if (engine && engine->Reason() != StopReason::kNone) return Failed(kExitFailed);
  if (!tree.Root()) return Failed(Fail(name + ": the storage has no sectors"));
  TellObstacles(name, isUnderstood, met);
  const auto found = FindPlace(*tree.Root(), place);
  const u64 sectors = storage->GetSectorCount();
  if (!found || found->start >= sectors) {
    return Failed(Fail(fmt::format(
        "{}: there is no partition {}; 'larkspur tree' shows their places", name, place)));
  }
  const SectorRange range{found->start, std::min(found->sectors, sectors - found->start)};
  if (range.count < found->sectors) {
    Tell(fmt::format("{}: partition {} reaches {} past the end", name, place,
                     CountText(found->sectors - range.count, "sector")));
  }
  return range;
}

}  // namespace larkspur::cli
