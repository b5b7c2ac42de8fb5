// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/status_map.h"

namespace larkspur {

const StatusMap::Part& StatusMap::PartAt(u64 sector) {
  const u64 number = sector / kPartSectors;
  Part& part = m_parts[number];
  if (!part.empty()) return part;
  const u64 first = number * kPartSectors;
  const u64 end = std::min(m_sectors, first + kPartSectors);
  m_image->VisitExtents(first, end - first, [&](u64 start, u64 sectors, SectorStatus status) {
    if (status == kUnknown || status == kMeaningless) m_unknown += sectors;
    part.push_back({start + sectors, status});
    return true;
  });
  if (part.empty()) part.push_back({end, kUnknown});
  return part;
}

StatusCounts StatusMap::Count(u64 first, u64 count) {
  StatusCounts counts;
  Visit(first, count,
        [&counts](u64, u64 sectors, SectorStatus status) { counts.Add(status, sectors); });
  return counts;
}

}  // namespace larkspur
