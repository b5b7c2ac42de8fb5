// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a map says, in words, and how its squares lie on a screen.

#include <string>

#include "imaging/map_grid.h"

namespace larkspur::host {

// "Present 81920 sectors (99.9 %), unreadable 42 (0.1 %), missing 0 (0.0 %)"
std::u16string MapCounts(const StatusCounts& totals, u64 sectors);

// "Each square is 64.0 KiB (128 sectors); red: at least one unreadable"
std::u16string MapScale(const MapGrid& grid);

// Square cells in rows.
struct MapField {
  i32 cell = 1;     // pixels
  i32 columns = 1;  // cells in a row
};
// The largest cells of which `count` fit into width by height pixels; of one pixel when none do.
MapField FieldOf(size_t count, i32 width, i32 height);

}  // namespace larkspur::host
