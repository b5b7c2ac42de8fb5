// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/rules/map_words.h"

#include <algorithm>

#include "host/rules/words.h"
#include "imaging/size_text.h"

namespace larkspur::host {
namespace {

constexpr i32 kLargestCell = 64;  // pixels

}  // namespace

std::u16string MapCounts(const StatusCounts& totals, u64 sectors) {
  return Words("Present {} sectors ({}), unreadable {} ({}), missing {} ({})", totals.present,
               PercentText(totals.present, sectors), totals.unreadable,
               PercentText(totals.unreadable, sectors), totals.missing,
               PercentText(totals.missing, sectors));
}

std::u16string MapScale(const MapGrid& grid) {
  return Words("Each square is {} ({} sectors); red: at least one unreadable",
               SizeText(grid.sectorsPerCell << kSectorShift), grid.sectorsPerCell);
}

MapField FieldOf(size_t count, i32 width, i32 height) {
  i32 cell = kLargestCell;
  const auto fits = [=](i32 extent) {
    return static_cast<u64>(width / extent) * static_cast<u64>(height / extent) >= count;
  };
  while (cell > 1 && !fits(cell)) --cell;
  return {cell, std::max(1, width / cell)};
}

}  // namespace larkspur::host
