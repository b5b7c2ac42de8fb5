// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The counts of a cache, all in sectors unless said.

#include "io/kvr_sparse_io.h"

namespace larkspur {

struct StatusCounts {
  u64 present = 0;
  u64 unreadable = 0;
  u64 missing = 0;
  u64 unknown = 0;  // the cache itself cannot be read there, or makes no sense

  void Add(SectorStatus status, u64 sectors) {
    switch (status) {
      case kMissing:
        missing += sectors;
        break;
      case kPresent:
        present += sectors;
        break;
      case kUnreadable:
        unreadable += sectors;
        break;
      case kUnknown:
      case kMeaningless:
        unknown += sectors;
    }
  }
};

// The word for a status, for programs and people.
const char* StatusName(SectorStatus status);

// Counts [first, first+count) of the image.
StatusCounts CountStatuses(cKVRSparseIO* image, u64 first, u64 count);

}  // namespace larkspur
