// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/image_domain.h"

#include "base/path_text.h"
#include "cli/output.h"
#include "cli/partition.h"
#include "cli/storages.h"
#include "cli/walked_storages.h"
#include "files/volumes.h"
#include "files/walk.h"
#include "platform/system_error.h"
#include "platform/terminal.h"
#include "rescue/rescue_io.h"

namespace larkspur::cli {
namespace {

Result<ExtentSet, ExitStatus> InPartition(Rescue* rescue, const ImageOptions& options) {
  cRescueIO storage(&rescue->engine());
  const auto range = FindPartition(&storage, rescue->Image(), options.source, options.partition,
                                   &rescue->engine());
  if (!range) return Failed(range.error());
  return ExtentSet(*range);
}

// What is used of `domain`.
Result<ExtentSet, ExitStatus> UsedOf(const ExtentSet& domain, Rescue* rescue,
                                     const ImageOptions& options) {
  cRescueIO io(&rescue->engine());
  const VolumeLayout layout = LayoutOf(&io, rescue->Image());
  ExtentSet used = layout.unknown;
  // A table that could not be read may have named more partitions.
  if (!layout.met.unread.empty()) used.Add(layout.free);
  RescuedStorage storage(rescue);
  for (const PlacedVolume& volume : layout.volumes) {
    if (rescue->engine().Reason() != StopReason::kNone) break;
    if (domain.Intersection(ExtentSet(volume.sectors)).IsEmpty()) continue;
    switch (AddUsed(&storage, volume.sectors, platform::InterruptFlag(), &used)) {
      case WalkEnd::kStopped:
        return Failed(kExitInterrupted);
      case WalkEnd::kUnavailable:
        return Failed(Fail(CannotWalkWords(options.source)));
      default:
        break;
    }
  }
  if (rescue->engine().Reason() != StopReason::kNone) return Failed(kExitFailed);
  return domain.Intersection(used);
}

}  // namespace

Result<std::optional<ExtentSet>, ExitStatus> ReadChosen(const ImageOptions& options) {
  if (options.domain.empty()) return std::nullopt;
  auto wanted = ReadDomain(WideFromUtf8(options.domain));
  if (!wanted) return Failed(Fail(Failure(options.domain, MapfileWords(wanted.error()))));
  return std::move(*wanted);
}

Result<ExtentSet, ExitStatus> MakeDomain(Rescue* rescue, const ImageOptions& options,
                                         const std::optional<ExtentSet>& chosen) {
  ExtentSet domain(rescue->Range());
  if (chosen) domain = domain.Intersection(*chosen);
  if (!options.partition.empty()) {
    auto partition = InPartition(rescue, options);
    if (!partition) return partition;
    domain = domain.Intersection(*partition);
  }
  if (options.used) {
    auto used = UsedOf(domain, rescue, options);
    if (!used) return used;
    domain = std::move(*used);
  }
  if (!domain.IsEmpty()) return domain;
  Tell(options.source +
       ": no sector of this disk is selected, so nothing is read: --start, --sectors, --partition, "
       "--domain and --used have no sector in common" +
       (options.domain.empty() ? "" : "; the mapfile selects what it marks '+'"));
  return Failed(kExitUsage);
}

}  // namespace larkspur::cli
