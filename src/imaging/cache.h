// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening and creating the cache file of a source. Whether a file is a cache, whole, and fits, is
// decided here alone; each face gives its own words to the answer.

#include <memory>
#include <string>

#include "base/owned.h"
#include "io/kvr_sparse_io.h"
#include "platform/owned_file.h"

namespace larkspur {

enum class CacheAnswer {
  kOpened,
  kAbsent,
  kCannotOpen,  // systemError says why
  kFolder,
  kSameAsSource,
  kOnSourceDisk,   // what is written there may fall on what is to be saved
  kForeign,        // a file, but not a cache: never touched
  kDamagedHeader,  // it was a cache, but its header makes no sense
  kIncomplete,     // the file ends before its index, or before records that the index names
  kOtherSize,      // made of a storage with another sector count: cacheSectors
  kHeldElsewhere,  // another run is working on it
  kCannotCreate,   // systemError says why
};

// Keeps other runs away from a cache file while it lives, and brings what was written to the
// medium.
class CacheHold {
 public:
  // A handle that is open for writing, and locked where the file system has locks.
  explicit CacheHold(platform::OwnedFile file) : m_file(std::move(file)) {}

  bool Sync() { return platform::SyncFile(m_file.Handle()); }

 private:
  platform::OwnedFile m_file;
};

struct Cache {
  CacheAnswer answer = CacheAnswer::kAbsent;
  u32 systemError = 0;
  u64 cacheSectors = 0;  // what the cache's header says
  u64 fileBytes = 0;     // the file's size when it was opened

  Owned<cKVRSparseIO> image;
  std::unique_ptr<CacheHold> hold;  // writable caches only
  bool created = false;
};

// Locks the file for one run, whatever it holds; `image` stays null. On failure the answer is
// kHeldElsewhere or kCannotOpen.
Cache HoldCache(const std::u16string& path);

enum class CacheAccess {
  kLook,    // read-only, without a lock: may be done while another run works on the file
  kResume,  // writable and locked
};

// Opens an existing cache. `expectedSectors` other than 0 must be the cache's own count.
Cache OpenCache(const std::u16string& path, CacheAccess access, u64 expectedSectors);

// Opens the cache of the source at `sourcePath` for resuming, or makes one where there is no file
// yet. A new one takes its name only when it is complete, so that a crash leaves nothing half-made.
Cache OpenOrCreateCache(const std::u16string& path, const std::u16string& sourcePath, u64 sectors);

}  // namespace larkspur
