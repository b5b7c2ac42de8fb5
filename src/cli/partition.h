// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Finding what the user named by its place in the partition tree, and words for what stood in the
// way.

#include <string>

#include "base/exit_status.h"
#include "base/result.h"
#include "imaging/summary.h"
#include "io/sector_range.h"
#include "partitions/scan.h"

namespace larkspur {
class Engine;
}  // namespace larkspur

namespace larkspur::cli {

// The sectors that the partition at `place` covers, cut at the storage's end. Where that fails, the
// user has been told, and so of what stood in the way. `name` is the storage's, for messages.
// `cache` is the one that it is read from, and `engine` what reads it, if any: when the engine
// stopped on the way, why is for its owner to tell.
Result<SectorRange, ExitStatus> FindPartition(cBaseIO* storage, cKVRSparseIO* cache,
                                              const std::string& name, const std::string& place,
                                              const Engine* engine = nullptr);

// Tells what stood in the way of a tree; `isUnderstood` as BuildPartitionTree answers.
void TellObstacles(const std::string& name, bool isUnderstood, const Obstacles& met);

// Counts the sectors that were needed and did not come.
StatusCounts CountUnread(const Obstacles& met);

}  // namespace larkspur::cli
