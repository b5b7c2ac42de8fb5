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

ExitStatus CutToMapfile(const ImageOptions& options, ExtentSet* domain) {
  const auto wanted = ReadDomain(WideFromUtf8(options.domain));
  if (!wanted) return Fail(MapfileWords(options.domain, wanted.error()));
  *domain = domain->Intersection(*wanted);
  return kExitDone;
}

ExitStatus CutToPartition(Rescue* rescue, const ImageOptions& options, ExtentSet* domain) {
  cRescueIO storage(&rescue->engine());
  SectorRange range{};
  const ExitStatus status =
      FindPartition(&storage, options.source, options.partition, &range, &rescue->engine());
  if (status != kExitDone) return rescue->Finish(status);
  *domain = domain->Intersection(ExtentSet(range));
  return kExitDone;
}

bool HasUnreadable(Rescue* rescue, const ExtentSet& sectors) {
  bool has = false;
  sectors.Visit([&](SectorRange range) {
    has = has || CountStatuses(rescue->Image(), range.first, range.count).unreadable > 0;
  });
  return has || rescue->engine().Unproved() > 0;
}

ExitStatus CutToUsed(Rescue* rescue, ExtentSet* domain) {
  cRescueIO io(&rescue->engine());
  const VolumeLayout layout = LayoutOf(&io);
  ExtentSet used = layout.unknown;
  // A table that lies in unreadable sectors may have named more partitions.
  if (HasUnreadable(rescue, layout.free)) used.Add(layout.free);
  RescuedStorage storage(rescue);
  for (const PlacedVolume& volume : layout.volumes) {
    if (rescue->engine().Reason() != StopReason::kNone) break;
    if (domain->Intersection(ExtentSet(volume.sectors)).IsEmpty()) continue;
    switch (AddUsed(&storage, volume.sectors, platform::InterruptFlag(), &used)) {
      case WalkEnd::kStopped:
        return rescue->Finish(kExitInterrupted);
      case WalkEnd::kUnavailable:
        rescue->engine().Finish();
        return Fail(Failure("--used", "this build of larkspur cannot read file systems",
                            platform::LastFailure()));
      default:
        break;
    }
  }
  if (rescue->engine().Reason() != StopReason::kNone) return rescue->Finish();
  *domain = domain->Intersection(used);
  return kExitDone;
}

}  // namespace

ExitStatus MakeDomain(Rescue* rescue, const ImageOptions& options, ExtentSet* domain) {
  domain->Add(rescue->Range());
  ExitStatus status = kExitDone;
  if (!options.domain.empty()) status = CutToMapfile(options, domain);
  if (status == kExitDone && !options.partition.empty()) {
    status = CutToPartition(rescue, options, domain);
  }
  if (status == kExitDone && options.used) status = CutToUsed(rescue, domain);
  return status;
}

}  // namespace larkspur::cli
