// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Making a cache of a rescue that GNU ddrescue began: its image and its mapfile.

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "imaging/mapfile.h"
#include "imaging/summary.h"

namespace larkspur {

// What a mapfile says of every whole sector of the disk. Sectors in none of the lists are missing.
struct ImportPlan {
  u64 sectors = 0;
  u32 trailingBytes = 0;  // after the last whole sector; left out
  std::vector<SectorRange> present;
  std::vector<SectorRange> unreadable;
  std::vector<SectorRange>
      tried;  // failed with their neighbours, not yet alone; missing in a cache
};

ImportPlan PlanImport(const std::vector<MapfileBlock>& blocks);

enum class ImportEnd {
  kDone,
  kStopped,
  kCacheExists,
  kCannotCreate,   // systemError
  kImageUnopened,  // systemError
  kImageLonger,    // than what the mapfile covers: imageBytes
  kImageShorter,   // than what the mapfile calls read: imageBytes
  kImageFailed,    // the image cannot be read at failedSector: systemError
  kWriteFailed,    // systemError
};

struct ImportResult {
  ImportEnd end = ImportEnd::kDone;
  u32 systemError = 0;
  u64 imageBytes = 0;
  u64 failedSector = 0;
  StatusCounts counts;
};

// Told how many sectors are present so far, of all that will be.
using ImportMonitor = std::function<void(u64 present)>;

// Makes the cache at `cache`, which takes its name only when it is whole; nothing is left of one
// that was not finished. Of the image only present sectors are read, and its holes stay holes.
// REQUIRES: 0 < plan.sectors < kMaxSparseSectors.
ImportResult ImportRescue(const std::u16string& image, const ImportPlan& plan,
                          const std::u16string& cache, const std::atomic<bool>& stop,
                          const ImportMonitor& monitor);

}  // namespace larkspur
