// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/map_words.h"

#include <algorithm>

#include "base/size_text.h"
#include "host/model/words.h"

namespace larkspur::host {
namespace {

constexpr i32 kLargestCell = 64;  // pixels

}  // namespace

std::u16string MapCounts(const StatusCounts& totals, u64 sectors) {
  return Words("Present {} ({}), unreadable {} ({}), missing {} ({})",
               CountText(totals.present, "sector"), PercentText(totals.present, sectors),
               totals.unreadable, PercentText(totals.unreadable, sectors), totals.missing,
               PercentText(totals.missing, sectors));
}

std::u16string MapScale(const MapGrid& grid) {
  return Words("Each square is {} ({})", SizeText(grid.sectorsPerCell << kSectorShift),
               CountText(grid.sectorsPerCell, "sector"));
}

std::u16string MapCell(const MapGrid& grid, size_t cell) {
  const StatusCounts& counts = grid.cells[cell];
  const u64 first = cell * grid.sectorsPerCell;
  const u64 last = std::min(first + grid.sectorsPerCell, grid.sectors) - 1;
  return Words("Sectors {} to {}: {} present, {} unreadable, {} missing", first, last,
               counts.present, counts.unreadable, counts.missing);
}

std::vector<LegendEntry> MapLegend() {
  return {{ColourOf({1, 0, 0}), u"present"},
          {ColourOf({1, 0, 1}), u"partly present"},
          {ColourOf({0, 0, 1}), u"missing"},
          {ColourOf({0, 1, 0}), u"at least one sector unreadable"}};
}

MapField FieldOf(size_t count, i32 width, i32 height) {
  i32 cell = kLargestCell;
  const auto fits = [=](i32 extent) {
    return static_cast<u64>(width / extent) * static_cast<u64>(height / extent) >= count;
  };
  while (cell > 1 && !fits(cell)) --cell;
  return {cell, std::max(1, width / cell)};
}

size_t CellFrom(const MapField& field, size_t count, size_t cell, i32 cells, i32 rows) {
  const i64 other = static_cast<i64>(cell) + cells + i64{rows} * field.columns;
  return other >= 0 && other < static_cast<i64>(count) ? static_cast<size_t>(other) : cell;
}

std::optional<size_t> CellAt(const MapField& field, size_t count, i32 x, i32 y) {
  if (x < 0 || y < 0 || x / field.cell >= field.columns) return std::nullopt;
  const i64 cell = i64{y / field.cell} * field.columns + x / field.cell;
  if (cell >= static_cast<i64>(count)) return std::nullopt;
  return static_cast<size_t>(cell);
}

}  // namespace larkspur::host
