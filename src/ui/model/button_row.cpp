// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/button_row.h"

#include <algorithm>

namespace larkspur {

i32 ButtonWidth(std::span<const i32> textWidths, const ButtonRowMetrics& metrics, u32 dpi) {
  i32 widest = 0;
  for (const i32 width : textWidths) widest = std::max(widest, width);
  return std::max(Scaled(metrics.narrowest, dpi),
                  widest + Scaled(metrics.padding, dpi) + Scaled(metrics.iconAndGap, dpi));
}

i32 ButtonRowWidth(size_t count, i32 buttonWidth, const ButtonRowMetrics& metrics, u32 dpi) {
  if (count == 0) return 0;
  const i32 buttons = static_cast<i32>(count);
  return buttons * buttonWidth + (buttons - 1) * Scaled(metrics.gap, dpi);
}

std::vector<Box> ButtonRow(size_t count, i32 buttonWidth, i32 y, i32 height, Size client,
                           const ButtonRowMetrics& metrics, u32 dpi) {
  const Box row = PlaceOf({0, y, 0, height}, client, dpi);
  i32 x = client.width - Scaled(metrics.marginRight, dpi) -
          ButtonRowWidth(count, buttonWidth, metrics, dpi);
  std::vector<Box> places;
  for (size_t i = 0; i < count; ++i) {
    places.push_back({x, row.y, buttonWidth, row.height});
    x += buttonWidth + Scaled(metrics.gap, dpi);
  }
  return places;
}

}  // namespace larkspur
