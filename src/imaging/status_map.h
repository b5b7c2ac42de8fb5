// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a cache held at one moment, for those who ask of many small ranges.

#include <algorithm>
#include <vector>

#include "imaging/summary.h"

namespace larkspur {

class StatusMap {
 public:
  explicit StatusMap(cKVRSparseIO* image);

  u64 Sectors() const { return m_extents.empty() ? 0 : m_extents.back().end; }

  // Calls visit(start, sectors, status) for the extents of [first, first+count) in order. Sectors
  // past the end count as missing.
  template <typename Call>
  void Visit(u64 first, u64 count, Call visit) const {
    const u64 end = first + std::min(count, kNowhere - first);
    auto extent = std::upper_bound(m_extents.begin(), m_extents.end(), first,
                                   [](u64 sector, const Extent& one) { return sector < one.end; });
    for (; first < end && extent != m_extents.end(); ++extent) {
      const u64 stop = std::min(end, extent->end);
      visit(first, stop - first, extent->status);
      first = stop;
    }
    if (first < end) visit(first, end - first, kMissing);
  }

  StatusCounts Count(u64 first, u64 count) const;
  bool IsPresent(u64 first, u64 count) const { return Count(first, count).present == count; }

 private:
  struct Extent {
    u64 end;
    SectorStatus status;
  };
  std::vector<Extent> m_extents;
};

}  // namespace larkspur
