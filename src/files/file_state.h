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
std::vector<SectorRange> NeedsOf(const FoundFile& file);

FileState StateOf(const FoundFile& file, const StatusMap& map);

// What of these ranges the cache lacks, counted once.
FileState StateOf(std::vector<SectorRange> ranges, const StatusMap& map);

// Adds what of the ranges the cache lacks to `lacking`, unsorted.
void AddLacking(const std::vector<SectorRange>& ranges, const StatusMap& map,
                std::vector<SectorRange>* lacking);

}  // namespace larkspur
