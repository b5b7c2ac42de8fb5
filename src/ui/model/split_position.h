// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where a splitter bar stands between two neighbours.

#include "base/types.h"

namespace larkspur {

struct SplitRange {
  i32 extent = 0;       // both neighbours and the bar
  i32 bar = 0;          // the bar itself
  i32 leastBefore = 0;  // what the first neighbour must keep
  i32 leastAfter = 0;   // what the second one must keep
};

// `wanted`, moved to where both neighbours keep their least. The first neighbour wins when there is
// room for one only; never outside of the extent.
i32 SplitPosition(i32 wanted, const SplitRange& range);

}  // namespace larkspur
