// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/layout.h"

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

SectionStack StackSections(std::span<const SectionHeights> sections, i32 width, i32 margin,
                           i32 scrolled) {
  SectionStack stack;
  const i32 inner = std::max(0, width - 2 * margin);
  i32 y = margin;
  for (const SectionHeights& section : sections) {
    SectionPlace place;
    place.heading = {margin, y - scrolled, inner, section.heading};
    y += section.heading + margin;
    place.body = {margin, y - scrolled, inner, section.folded ? 0 : section.body};
    if (!section.folded) y += section.body + margin;
    stack.places.push_back(place);
  }
  stack.height = y;
  return stack;
}

i32 ScrollOffset(i32 wanted, i32 height, i32 view) {
  return std::clamp(wanted, 0, std::max(0, height - view));
}

i32 SplitPosition(i32 wanted, const SplitRange& range) {
  const i32 room = std::max(0, range.extent - range.bar);
  const i32 low = std::min(range.leastBefore, room);
  const i32 high = std::max(low, room - range.leastAfter);
  return std::clamp(wanted, low, high);
}

}  // namespace larkspur
