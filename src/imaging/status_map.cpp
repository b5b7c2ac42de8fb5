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

}  // namespace larkspur
