// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "io/sparse_layout.h"

namespace larkspur {

// How many sectors have which status.
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

}  // namespace larkspur
