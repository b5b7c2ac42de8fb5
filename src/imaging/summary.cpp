// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/summary.h"

namespace larkspur {

const char* StatusName(SectorStatus status) {
  switch (status) {
    case kMissing:
      return "missing";
    case kPresent:
      return "present";
    case kUnreadable:
      return "unreadable";
    case kUnknown:
    case kMeaningless:
      return "unknown";
  }
  return "";
}

StatusCounts CountStatuses(cKVRSparseIO* image, u64 first, u64 count) {
  StatusCounts counts;
  image->VisitExtents(first, count, [&counts](u64, u64 sectors, SectorStatus status) {
    counts.Add(status, sectors);
    return true;
  });
  return counts;
}

}  // namespace larkspur
