// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/column_widths.h"

#include <algorithm>

namespace larkspur {

std::vector<i32> ColumnWidths(std::span<const ColumnNeed> columns, i32 room) {
  std::vector<i32> widths;
  for (const ColumnNeed& column : columns) {
    widths.push_back(column.wanted);
    room -= column.wanted;
  }
  for (size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].grows) continue;
    const i32 least = std::min(columns[i].least, columns[i].wanted);
    const i32 change = std::max(room, least - columns[i].wanted);
    widths[i] += change;
    room -= change;
  }
  return widths;
}

}  // namespace larkspur
