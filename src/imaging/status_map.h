// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a cache holds, for those who ask of many small ranges: each part of the image is looked at
// when it is first asked of, and remembered as it was then.

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "imaging/summary.h"

namespace larkspur {

class StatusMap {
 public:
  // `image` outlives this.
  explicit StatusMap(cKVRSparseIO* image) : m_image(image), m_sectors(image->GetSectorCount()) {}

  u64 Sectors() const { return m_sectors; }

  // Calls visit(start, sectors, status) for [first, first+count) in order, neighbours of one status
  // not always joined. Sectors past the end count as missing.
  template <typename Call>
  void Visit(u64 first, u64 count, Call visit) {
    const u64 end = first + std::min(count, kNowhere - first);
    while (first < std::min(end, m_sectors)) {
      const Part& part = PartAt(first);
      auto extent =
          std::upper_bound(part.begin(), part.end(), first,
                           [](u64 sector, const Extent& one) { return sector < one.end; });
      for (; first < end && extent != part.end(); ++extent) {
        const u64 stop = std::min(end, extent->end);
        visit(first, stop - first, extent->status);
        first = stop;
      }
    }
    if (first < end) visit(first, end - first, kMissing);
  }

  StatusCounts Count(u64 first, u64 count);
  // Of how many sectors of the parts that were looked at nothing is known.
  u64 Unknown() const { return m_unknown; }
  bool IsPresent(u64 first, u64 count) { return Count(first, count).present == count; }

 private:
  // 16 MiB of the image: the maps of 256 blocks.
  static constexpr u64 kPartSectors = 32768;

  struct Extent {
    u64 end;
    SectorStatus status;
  };
  using Part = std::vector<Extent>;  // without gaps

  const Part& PartAt(u64 sector);

  cKVRSparseIO* m_image;
  u64 m_sectors;
  u64 m_unknown = 0;
  std::unordered_map<u64, Part> m_parts;
};

}  // namespace larkspur
