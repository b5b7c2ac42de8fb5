// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/cache_history.h"

#include <algorithm>
#include <memory>

#include "base/byte_runs.h"
#include "platform/boot.h"
#include "platform/system_error.h"
#include "rescue/cache_store.h"
#include "rescue/rescue_log.h"

namespace larkspur {
namespace {

// Adds the sectors of a present range that are nothing but zeros; false when they cannot be read.
bool FindZeros(RescueStore* store, SectorRange range, ExtentSet* zeros) {
  constexpr u32 kChunk = 2048;
  const auto data = std::make_unique<u8[]>(u64{kChunk} * kSectorBytes);
  for (u64 at = range.first; at < range.End();) {
    const u32 count = static_cast<u32>(std::min<u64>(range.End() - at, kChunk));
    if (!store->Load(at, data.get(), count)) return false;
    for (u32 i = 0; i < count; ++i) {
      if (IsAllZero({data.get() + u64{i} * kSectorBytes, kSectorBytes})) zeros->Add({at + i, 1});
    }
    at += count;
  }
  return true;
}

}  // namespace

Result<RescueHistory, u32> HistoryOf(const std::u16string& cachePath, const SparseLayout& layout) {
  const std::u16string path = LogPathOf(cachePath);
  if (platform::KindOfPath(path.c_str()) == platform::PathKind::kUnknown) {
    return Failed(platform::LastFailure());
  }
  RescueHistory history = ReadHistory(path, layout.sectorCount);
  if (history.systemError != 0) return Failed(history.systemError);
  if (history.stamp == layout.stamp) return history;
  RescueHistory none;
  none.firstWrongLine = history.firstWrongLine;
  return none;
}

bool IsStoringInDoubt(const RescueHistory& history, const std::u16string& cachePath) {
  if (history.syncFailed) return true;
  if (history.storing.IsEmpty()) return false;
  if (history.boot != platform::BootId()) return true;
  // Logs of earlier versions do not tell.
  return !history.medium.empty() && history.medium != platform::MediumStay(cachePath.c_str());
}

std::optional<ExtentSet> ZerosIn(cKVRSparseIO* image, const ExtentSet& areas) {
  CacheStore store(image, nullptr);
  ExtentSet present, zeros;
  bool isRead = true;
  areas.Visit([&](SectorRange area) {
    isRead = isRead && store.Visit(area, [&](u64 start, u64 sectors, SectorStatus status) {
      if (status == kPresent) present.Add({start, sectors});
      return true;
    });
  });
  present.Visit([&](SectorRange range) { isRead = isRead && FindZeros(&store, range, &zeros); });
  return isRead ? std::optional(std::move(zeros)) : std::nullopt;
}

std::optional<u64> DisbelieveZeros(cKVRSparseIO* image, const ExtentSet& areas) {
  const auto zeros = ZerosIn(image, areas);
  bool isMarked = zeros.has_value();
  if (!isMarked) return std::nullopt;
  zeros->Visit([&](SectorRange range) {
    isMarked = isMarked && image->MarkMissing(range.first, range.count);
  });
  return isMarked ? std::optional(zeros->Sectors()) : std::nullopt;
}

}  // namespace larkspur
