// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cReadOnceIO: a read-only view of a source in which every sector is asked of the source once. What
// the source gives is stored in an image at once; what it refuses is marked there and reads as
// zeros from then on. The image is a file, so the work resumes where the last use stopped. Where
// the image's own file cannot be read, nothing is known of a sector, and the source is not asked
// for it: the read ends there, short.
//
// Not locked: each thread reads through its own Clone. Clones share what belongs to the image's
// file (io/shared_file.h), so they may read at the same time; two that lack the same sector at the
// same time may both ask for it.

#include <memory>

#include "io/cache_lock.h"
#include "io/kvr_sparse_io.h"

namespace larkspur {

class cReadOnceIO final : public cBaseIO {
 public:
  cReadOnceIO() = default;
  ~cReadOnceIO() { Close(); }

  // Takes clones of both; false, and empty, when one is null or cannot be cloned.
  bool Attach(cKVRSparseIO* image, cBaseIO* source);
  // Keeps the lock as long as this object or a clone is attached, and has it flush what is stored.
  void KeepLock(std::shared_ptr<CacheLock> lock) { m_lock = std::move(lock); }
  // Our own image, for its counts and extents; null when empty.
  cKVRSparseIO* Image() { return m_image.get(); }

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  bool QueryCapability() override { return m_source && m_source->QueryCapability(); }
  void InitState() override;
  void Close() override;
  u64 SetPosition(u64 sector) override;
  // Answers what the image can give, whatever the source did. `presence` is ignored.
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u64 GetSectorCount() override { return m_source ? m_sectorCount : 0; }
  u32 GetTypeId() override { return kTypeReadOnce; }
  void* Destroy(u32 flags) override;
  // The source's description in braces.
  bool GetDescription(char16_t* buffer, i32 capacity) override;

 private:
  // Both fetch [m_position, +count) and advance the position.
  void Fetch(u8* buffer, u32 count);
  void FetchSingly(u8* buffer, u32 count);
  // Stores sectors at the position. What the image does not take is served all the same.
  void Store(const u8* buffer, u32 count);
  // Zeros, or what the image has of the sector at the position after all.
  void FillRefused(u8* buffer);
  void NoteStored();

  Owned<cKVRSparseIO> m_image;
  Owned<cBaseIO> m_source;
  u64 m_position = 0;
  u64 m_sectorCount = 0;
  std::shared_ptr<CacheLock> m_lock;
};

}  // namespace larkspur
