// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/status_map.h"

namespace larkspur {

StatusMap::StatusMap(cKVRSparseIO* image) {
  image->VisitExtents(0, image->GetSectorCount(),
                      [this](u64 start, u64 sectors, SectorStatus status) {
                        m_extents.push_back({start + sectors, status});
                        return true;
                      });
}

StatusCounts StatusMap::Count(u64 first, u64 count) const {
  StatusCounts counts;
  Visit(first, count,
        [&counts](u64, u64 sectors, SectorStatus status) { counts.Add(status, sectors); });
  return counts;
}

void JoinRanges(std::vector<SectorRange>* ranges) {
  std::sort(ranges->begin(), ranges->end(),
            [](const SectorRange& a, const SectorRange& b) { return a.first < b.first; });
  size_t kept = 0;
  for (const SectorRange& range : *ranges) {
    if (kept > 0) {
      SectorRange& last = (*ranges)[kept - 1];
      if (range.first <= last.first + last.count) {
        last.count = std::max(last.count, range.first + range.count - last.first);
        continue;
      }
    }
    (*ranges)[kept++] = range;
  }
  ranges->resize(kept);
}

}  // namespace larkspur
