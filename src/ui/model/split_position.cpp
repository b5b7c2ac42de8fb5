// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/split_position.h"

#include <algorithm>

namespace larkspur {

i32 SplitPosition(i32 wanted, const SplitRange& range) {
  const i32 room = std::max(0, range.extent - range.bar);
  const i32 low = std::min(range.leastBefore, room);
  const i32 high = std::max(low, room - range.leastAfter);
  return std::clamp(wanted, low, high);
}

}  // namespace larkspur
