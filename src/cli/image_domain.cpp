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

// Where partition tables and file systems are looked at: what the cache lacks of them is read, but
// with --retry, when nothing is read but what is unreadable.
class LookedAt {
 public:
  LookedAt(Rescue* rescue, bool retry)
      : m_rescue(rescue),
        m_retry(retry),
        m_io(&rescue->engine()),
        m_read(rescue),
        m_map(rescue->Image()),
        m_cached(rescue->Image(), m_map) {}

  cBaseIO* Storage() {
    if (m_retry) return m_rescue->Image();
    return &m_io;
  }
  WalkedStorage* Walked() {
    if (m_retry) return &m_cached;
    return &m_read;
  }

 private:
  Rescue* m_rescue;
  bool m_retry;
  cRescueIO m_io;
  RescuedStorage m_read;
  StatusMap m_map;
  CacheStorage m_cached;
};

Result<ExtentSet, ExitStatus> InPartition(Rescue* rescue, const ImageOptions& options) {
  LookedAt at(rescue, options.retry);
  const auto range = FindPartition(at.Storage(), rescue->Image(), options.source, options.partition,
                                   &rescue->engine());
  if (!range) return Failed(range.error());
  return ExtentSet(*range);
}

// What is used of `domain`.
Result<ExtentSet, ExitStatus> UsedOf(const ExtentSet& domain, Rescue* rescue,
                                     const ImageOptions& options) {
  LookedAt at(rescue, options.retry);
  const VolumeLayout layout = LayoutOf(at.Storage(), rescue->Image());
  ExtentSet used = layout.unknown;
  // A table that could not be read may have named more partitions.
  if (!layout.met.unread.empty()) used.Add(layout.free);
  for (const PlacedVolume& volume : layout.volumes) {
    if (rescue->engine().Reason() != StopReason::kNone) break;
    if (domain.Intersection(ExtentSet(volume.sectors)).IsEmpty()) continue;
    switch (AddUsed(at.Walked(), volume.sectors, platform::InterruptFlag(), &used)) {
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
