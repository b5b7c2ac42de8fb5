// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <algorithm>

#include "io/sector_range.h"

namespace larkspur {

// A source's sectors, and the physical sectors that they make up: what fails and is asked alone is
// a whole physical sector.
struct SectorUnits {
  u64 sectors = 0;
  u32 unit = 1;  // sectors in one physical sector

  // The physical sector that `sector` lies in; the last may be cut short.
  SectorRange Around(u64 sector) const {
    const u64 first = sector / unit * unit;
    return {first, std::min<u64>(unit, sectors - first)};
  }
  // The physical sectors that `range` touches.
  SectorRange Widened(SectorRange range) const {
    const u64 first = range.first / unit * unit;
    const u64 end = std::min((range.End() + unit - 1) / unit * unit, sectors);
    return {first, end - first};
  }
  bool IsOne(SectorRange range) const { return range.count <= unit; }
};

}  // namespace larkspur
