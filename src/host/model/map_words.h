// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a map says, in words, and how its squares lie on a screen.

#include <optional>
#include <string>
#include <vector>

#include "imaging/map_picture.h"

namespace larkspur::host {

// "Present 81920 sectors (99.9%), unreadable 42 (0.1%), missing 0 (0.0%)"
std::u16string MapCounts(const StatusCounts& totals, u64 sectors);

// "Each square is 64.0 KiB (128 sectors)"
std::u16string MapScale(const MapGrid& grid);

// "Sectors 128 to 255: 100 present, 1 unreadable, 27 missing". REQUIRES: cell < grid.cells.size()
std::u16string MapCell(const MapGrid& grid, size_t cell);

// What the colours mean.
struct LegendEntry {
  Colour colour;
  const char16_t* words;
};
std::vector<LegendEntry> MapLegend();

// Square cells in rows.
struct MapField {
  i32 cell = 1;     // pixels
  i32 columns = 1;  // cells in a row
};
// The largest cells of which `count` fit into width by height pixels; of one pixel when none do.
MapField FieldOf(size_t count, i32 width, i32 height);
// The cell that is `cells` and `rows` away, or the one at hand when there is none.
// REQUIRES: cell < count
size_t CellFrom(const MapField& field, size_t count, size_t cell, i32 cells, i32 rows);
// The one of `count` cells at a pixel; nothing beside them.
std::optional<size_t> CellAt(const MapField& field, size_t count, i32 x, i32 y);

}  // namespace larkspur::host
