// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What all images on one file share in this process: clones on several threads, and images that
// were opened by other names of the file.
//
// Order of locks: an image's own lock, then its file's section. Nothing waits for anything else
// with the section entered: not for a source, not for a parent, not for another file.

#include <atomic>
#include <memory>
#include <string_view>

#include "base/critical_section.h"
#include "platform/file.h"

namespace larkspur {

struct SharedFile {
  // Entered by any image that loads index entries or a map, and over the whole of every change.
  cCriticalSection section;
  // Above every record number that the index names or that was given out here; kNowhere until an
  // image has looked through the index. Guarded by the section.
  u64 recordEnd = kNowhere;
  // Grows whenever a sector becomes missing again: what was remembered as complete may not be so.
  std::atomic<u64> demotions{0};
};

// The one of the file with that identity, for as long as any image keeps it; a new one without an
// identity. Null without memory.
std::shared_ptr<SharedFile> ShareFile(const std::optional<platform::FileIdentity>& identity);

// The process-wide table of named locks, one for each image path. Images look their path up at
// every transfer, which makes the entry, but do not enter the lock: what guards a file is
// its SharedFile.

// The section of `path`, made on the first call; lives as long as the process. Null without memory.
cCriticalSection* FindPathLock(std::u16string_view path);

// Frees this table and that of shared files, for a module that leaves its host. REQUIRES: no image
// is left, and none is made afterwards.
void ReleasePathLocks();

}  // namespace larkspur
