// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/partition.h"

#include "cli/output.h"
#include "io/base_io.h"
#include "partitions/detection.h"
#include "partitions/place.h"
#include "rescue/engine.h"

namespace larkspur::cli {

Result<SectorRange, ExitStatus> FindPartition(cBaseIO* storage, const std::string& name,
                                              const std::string& place, const Engine* engine) {
  PartitionTree tree;
  BuildPartitionTree(tree.Head(), storage, {.forPeople = true});
  if (engine && engine->Reason() != StopReason::kNone) return Failed(kExitFailed);
  if (!tree.Root()) return Failed(Fail(name + ": the storage has no sectors"));
  const auto found = FindPlace(*tree.Root(), place);
  const u64 sectors = storage->GetSectorCount();
  if (!found || found->start >= sectors) {
    return Failed(Fail(fmt::format(
        "{}: there is no partition {}; 'larkspur tree' shows their places", name, place)));
  }
  const SectorRange range{found->start, std::min(found->sectors, sectors - found->start)};
  if (range.count < found->sectors) {
    Tell(fmt::format("{}: partition {} reaches {} sectors past the end", name, place,
                     found->sectors - range.count));
  }
  return range;
}

}  // namespace larkspur::cli
