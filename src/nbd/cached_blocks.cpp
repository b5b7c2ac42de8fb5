// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <mutex>
#include <vector>

#include "imaging/cache.h"
#include "imaging/cache_history.h"
#include "nbd/block_source.h"

namespace larkspur {
namespace {

// An object on the cache file serves one request at a time, so there are as many as there were
// requests at once.
class CachedBlocks final : public BlockSource {
 public:
  CachedBlocks(Owned<cKVRSparseIO> image, ExtentSet zerosInDoubt)
      : m_sectors(image->GetSectorCount()),
        m_zerosInDoubt(std::move(zerosInDoubt)),
        m_first(std::move(image)) {}

  u64 Sectors() const override { return m_sectors; }

  bool Fetch(u64 first, u32 count, u8* out, SectorStatus* statuses) override {
    Owned<cKVRSparseIO> image = Take();
    if (!image) return false;
    bool isEmpty = true;
    std::fill_n(statuses, count, kUnknown);
    image->VisitExtents(first, count, [&](u64 start, u64 sectors, SectorStatus status) {
      std::fill_n(statuses + (start - first), sectors, status);
      isEmpty = isEmpty && status == kMissing;
      return true;
    });
    m_zerosInDoubt.Visit({first, count}, [&](SectorRange part) {
      std::fill_n(statuses + (part.first - first), part.count, kMissing);
    });
    image->SetPosition(first);
    const bool isRead = isEmpty || image->ReadStored(out, count, nullptr) == count;
    const std::lock_guard lock(m_lock);
    m_free.push_back(std::move(image));
    return isRead;
  }

 private:
  Owned<cKVRSparseIO> Take() {
    const std::lock_guard lock(m_lock);
    if (m_free.empty()) return Owned<cKVRSparseIO>(static_cast<cKVRSparseIO*>(m_first->Clone()));
    Owned<cKVRSparseIO> image = std::move(m_free.back());
    m_free.pop_back();
    return image;
  }

  const u64 m_sectors;
  const ExtentSet m_zerosInDoubt;
  const Owned<cKVRSparseIO> m_first;  // only cloned
  std::mutex m_lock;
  std::vector<Owned<cKVRSparseIO>> m_free;
};

}  // namespace

std::unique_ptr<BlockSource> OpenCachedBlocks(const std::u16string& cache) {
  auto opened = OpenCache(cache, CacheAccess::kLook);
  if (!opened) return nullptr;
  cKVRSparseIO* const image = opened->image.get();
  const auto history = HistoryOf(cache, image->Layout());
  const bool isInDoubt = history && IsStoringInDoubt(*history, cache);
  auto zeros = isInDoubt ? ZerosIn(image, history->storing) : std::optional(ExtentSet());
  if (!zeros) return nullptr;
  return std::make_unique<CachedBlocks>(std::move(opened->image), std::move(*zeros));
}

}  // namespace larkspur
