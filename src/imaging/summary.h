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

  void Add(SectorStatus status, u64 sectors) {
    (status == kPresent ? present : status == kUnreadable ? unreadable : missing) += sectors;
  }
};

// Counts [first, first+count) of the image.
StatusCounts CountStatuses(cKVRSparseIO* image, u64 first, u64 count);

}  // namespace larkspur
