// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Sections one below the other, each with a heading and a body that may be folded away, in an area
// that scrolls when they need more room than it has. Pixels throughout.

#include <span>
#include <vector>

#include "ui/model/geometry.h"

namespace larkspur {

struct SectionHeights {
  i32 heading = 0;
  i32 body = 0;
  bool folded = false;
};

struct SectionPlace {
  Box heading;
  Box body;  // of height 0 when folded
};

struct SectionStack {
  std::vector<SectionPlace> places;
  i32 height = 0;  // of all sections with their margins
};

// Sections from y = -scrolled on, `margin` from the edges and between heading and body.
SectionStack StackSections(std::span<const SectionHeights> sections, i32 width, i32 margin,
                           i32 scrolled);

// `wanted`, kept to what can be scrolled: 0 to the part of `height` that `view` does not show.
i32 ScrollOffset(i32 wanted, i32 height, i32 view);

}  // namespace larkspur
