// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The files of one file system and the areas of the storage that they use.
//
// Reading a file system that a failing disk garbled is done by a helper process (files/walker.h),
// which has nothing but a line to this one: it asks for sectors and tells what it found. Here its
// questions are answered and its answers checked; nothing that it says is trusted.

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "base/types.h"
#include "rescue/extent_set.h"

namespace larkspur::platform {
class HelperLine;
}

namespace larkspur {

// Where a walk reads. Sectors are those of the whole storage.
class WalkedStorage {
 public:
  virtual ~WalkedStorage() = default;
  // Reads [first, first+count) into `buffer`, zeros for sectors that are not there; false when
  // any of it is not there. `ahead`: no one waits for it yet, so it may just as well be refused.
  virtual bool Read(u64 first, u32 count, u8* buffer, bool ahead) = 0;
};

struct FoundFile {
  std::string path;  // begins with "/"; any bytes but zero
  u64 size = 0;      // bytes; 0 when nothing tells it any more
  bool deleted = false;
  // Whether its metadata tells where all of its data lies.
  bool known = false;
  std::vector<SectorRange> areas;  // its data
  // What was asked for to learn all this and is not there; it did not matter when it is known.
  ExtentSet lacking;
};

// A folder, or another part of the file system, that cannot be read in full: files may be missing
// in the list.
struct DamagedPart {
  std::string path;  // empty: the file system itself
  ExtentSet lacking;
};

struct WalkEvents {
  // The file system's kind ("ext4", "ntfs") and its label; called first, once.
  std::function<void(const std::string& kind, const std::string& label)> opened =
      [](const std::string&, const std::string&) {};
  std::function<void(const FoundFile&)> file = [](const FoundFile&) {};
  std::function<void(const DamagedPart&)> damaged = [](const DamagedPart&) {};
  // When set, told after the files: every area that the file system uses itself or has given to
  // files, and every one of which it does not say that it is free.
  std::function<void(SectorRange)> used = nullptr;
};

enum class WalkEnd {
  kDone,
  kNoFileSystem,  // none that is known; what of it is not there was told by `damaged`
  kFailed,        // the helper crashed, hung, or said nonsense: what was found until then is told
  kStopped,       // `stop` was set
  kUnavailable,   // there is no helper: platform::LastFailure() says why
};

// Answers what a helper asks over the line until it has told everything. For tests, too.
WalkEnd ServeWalk(platform::HelperLine& line, WalkedStorage* storage, u64 first, u64 count,
                  const WalkEvents& events);

// Walks the file system on [first, first+count) of the storage. What could not be read of the file
// system as such is told last.
WalkEnd WalkFiles(WalkedStorage* storage, u64 first, u64 count, const WalkEvents& events,
                  const std::atomic<bool>& stop);

// Adds to `used` what the file system on [volume.first, volume.first+volume.count) uses, and what
// it does not say is free: the whole volume when none is recognised, or its walk failed. The rest
// is only what the walk read. For kStopped and kUnavailable `used` means nothing.
WalkEnd AddUsed(WalkedStorage* storage, SectorRange volume, const std::atomic<bool>& stop,
                ExtentSet* used);

}  // namespace larkspur
