// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How much of a file a cache has.

#include "files/walk.h"
#include "imaging/status_map.h"

namespace larkspur {

enum class FileCondition {
  kComplete,
  kDamaged,     // something of it is unreadable, or nothing tells any more where it lies
  kIncomplete,  // something is missing, nothing unreadable
};

struct FileState {
  FileCondition condition = FileCondition::kComplete;
  u64 unreadable = 0;  // sectors
  u64 missing = 0;
};

// What holds the file's data and, where that is not known, what would tell.
ExtentSet NeedsOf(const FoundFile& file);

FileState StateOf(const FoundFile& file, StatusMap& map);

// How much of these sectors the cache lacks, whatever file they belong to.
FileState StateOf(const ExtentSet& sectors, StatusMap& map);

// Adds what of the sectors the cache lacks to `lacking`.
void AddLacking(const ExtentSet& sectors, StatusMap& map, ExtentSet* lacking);

}  // namespace larkspur
