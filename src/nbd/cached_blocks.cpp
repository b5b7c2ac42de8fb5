// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <mutex>
#include <vector>

#include "imaging/cache.h"
#include "nbd/block_source.h"

namespace larkspur {
namespace {

// An object on the cache file serves one request at a time, so there are as many as there were
// requests at once.
class CachedBlocks final : public BlockSource {
 public:
  explicit CachedBlocks(Owned<cKVRSparseIO> image)
      : m_sectors(image->GetSectorCount()), m_first(std::move(image)) {}

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
  const Owned<cKVRSparseIO> m_first;  // only cloned
  std::mutex m_lock;
  std::vector<Owned<cKVRSparseIO>> m_free;
};

}  // namespace

std::unique_ptr<BlockSource> OpenCachedBlocks(const std::u16string& cache) {
  auto opened = OpenCache(cache, CacheAccess::kLook);
  return opened ? std::make_unique<CachedBlocks>(std::move(opened->image)) : nullptr;
}

}  // namespace larkspur
