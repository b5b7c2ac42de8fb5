// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A row of equally wide buttons at the right end of a form.

#include <span>
#include <vector>

#include "ui/model/geometry.h"

namespace larkspur {

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

}  // namespace larkspur
