// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where parts lie that share a form: plain numbers, no windows (geometry.h).

#include <span>
#include <vector>

#include "base/types.h"
#include "ui/model/geometry.h"

namespace larkspur {

// A row of equally wide buttons at the right end of a form.
struct ButtonRowMetrics {
  i32 padding = 18;      // left and right of icon and text together
  i32 iconAndGap = 20;   // an icon with the gap between it and the text
  i32 gap = 6;           // between two buttons
  i32 narrowest = 75;    // no button is narrower
  i32 marginRight = 10;  // between the last button and the form's edge
};

// The width that all buttons get, in pixels: the widest text decides. `textWidths` in pixels.
i32 ButtonWidth(std::span<const i32> textWidths, const ButtonRowMetrics& metrics, u32 dpi);

// The width of the whole row of `count` buttons, without the margin.
i32 ButtonRowWidth(size_t count, i32 buttonWidth, const ButtonRowMetrics& metrics, u32 dpi);

// The buttons' places from left to right; `y` and `height` are anchored units as in AnchoredBox.
std::vector<Box> ButtonRow(size_t count, i32 buttonWidth, i32 y, i32 height, Size client,
                           const ButtonRowMetrics& metrics, u32 dpi);

// Sections one below the other, each with a heading and a body that may be folded away, in an area
// that scrolls when they need more room than it has. Pixels throughout.
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

// Where a splitter bar stands between two neighbours.
struct SplitRange {
  i32 extent = 0;       // both neighbours and the bar
  i32 bar = 0;          // the bar itself
  i32 leastBefore = 0;  // what the first neighbour must keep
  i32 leastAfter = 0;   // what the second one must keep
};

// `wanted`, moved to where both neighbours keep their least. The first neighbour wins when there is
// room for one only; never outside of the extent.
i32 SplitPosition(i32 wanted, const SplitRange& range);

}  // namespace larkspur
