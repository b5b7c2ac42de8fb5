// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening and creating the cache file of a source. Whether a file is a cache, whole, and fits, is
// decided here alone; each face gives its own words to a fault.

#include <memory>
#include <optional>
#include <string>

#include "base/owned.h"
#include "base/result.h"
#include "io/cache_lock.h"
#include "io/kvr_sparse_io.h"

namespace larkspur {

enum class CacheFaultKind {
  kAbsent,
  kCannotOpen,  // systemError says why
  kFolder,
  kDeadLink,  // a link to what is not there
  kSameAsSource,
  kOnSourceDisk,     // what is written there may fall on what is to be saved
  kForeign,          // a file or device, but not a cache: never touched
  kDamagedHeader,    // its header makes no sense, though it, or the file's name, is a cache's
  kIncomplete,       // the file ends before its index, or before records that the index names
  kSharedRecord,     // two blocks name one record: what one of them reads is the other's data
  kUnreadable,       // part of its index cannot be read: systemError
  kOtherHeader,      // its header is not the file's: the disk has more, or other, sectors
  kNotFlushed,       // what was stored last may never have reached the disk: zeros in doubt
  kLogUnreadable,    // its rescue log cannot be read: systemError
  kOtherSize,        // made of a storage with another sector count: cacheSectors
  kLockedElsewhere,  // another run is working on it
  kCannotCreate,     // systemError says why
};

struct CacheFault {
  CacheFaultKind kind;
  u32 systemError = 0;
  u64 cacheSectors = 0;
};

struct Cache {
  Owned<cKVRSparseIO> image;
  std::shared_ptr<CacheLock> lock;  // writable caches only
  u64 fileBytes = 0;                // the file's size when it was opened
  bool created = false;
  // Of a cache that was opened to be looked at nevertheless: kIncomplete, kSharedRecord,
  // kUnreadable, kOtherHeader, kNotFlushed or kLogUnreadable.
  std::optional<CacheFault> damage;
};

// Locks the file for this process, whatever it holds; fails as kLockedElsewhere or kCannotOpen.
Result<std::shared_ptr<CacheLock>, CacheFault> LockCache(const std::u16string& path);

enum class CacheAccess {
  kLook,  // read-only, without a lock: may be done while another run works on the file; what can be
          // shown of a damaged one is shown
  kResume,  // writable and locked; whole caches only
};

// Opens an existing cache. Sectors that are expected must be the cache's own count.
Result<Cache, CacheFault> OpenCache(const std::u16string& path, CacheAccess access,
                                    std::optional<u64> expectedSectors = std::nullopt);

// Whether the index names nothing after the last block's entry: else the header says less than
// there is. `file` is the cache's.
bool EndsWithLastBlock(cBaseIO* file, const SparseLayout& layout);

// What its log says against the cache at `path`: kOtherHeader, kNotFlushed or kLogUnreadable;
// kUnreadable when that could not be found out.
std::optional<CacheFault> DamageByLog(const std::u16string& path, cKVRSparseIO* image);

// Whether the file may be a cache, by its name or a log beside it: nothing of it is read.
bool MayBeCache(const std::u16string& path);

// Opens what may be a cache or a source, to look at it; none when it is not a cache. One whose
// header is damaged or cannot be read, or a file of a cache's name (*.kvrsp) without such a header,
// fails: a cache is not to be shown as if it were a source.
std::optional<Result<Cache, CacheFault>> OpenIfCache(const std::u16string& path);

// Opens the cache of the source at `sourcePath` for resuming, or makes one where there is no file
// yet. A new one takes its name only when it is complete and flushed to disk, so that a crash
// leaves nothing half-made. The source's path may be empty where it has none.
Result<Cache, CacheFault> OpenOrCreateCache(const std::u16string& path,
                                            const std::u16string& sourcePath, u64 sectors);

}  // namespace larkspur
