// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/section_stack.h"

#include <algorithm>

namespace larkspur {

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

}  // namespace larkspur
