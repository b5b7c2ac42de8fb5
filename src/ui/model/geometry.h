// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where the parts of a form lie: plain numbers, no windows.
//
// A form describes its parts in units of 1/96 inch; a pixel is a unit at 96 dots per inch. Parts
// are anchored: a negative x or y is measured from the right or bottom edge of the form, and a
// negative width or height is the form's extent less that amount. So {5, 0, -10, 18} spans the
// form's width with a margin of 5 on both sides, and {-25, 25, 20, 22} keeps to the right edge.

#include "base/types.h"

namespace larkspur {

constexpr u32 kUnitDpi = 96;

struct Size {
  i32 width = 0;
  i32 height = 0;
  bool operator==(const Size&) const = default;
};

struct Box {
  i32 x = 0;
  i32 y = 0;
  i32 width = 0;
  i32 height = 0;
  bool operator==(const Box&) const = default;
};

struct AnchoredBox {
  i32 x = 0;
  i32 y = 0;
  i32 width = 0;
  i32 height = 0;
  bool operator==(const AnchoredBox&) const = default;
};

// Units to pixels, rounded to the nearest; the sign is kept.
i32 Scaled(i32 units, u32 dpi);
Size Scaled(Size units, u32 dpi);

// The place of a part in a client area of `client` pixels; never of negative extent.
Box PlaceOf(const AnchoredBox& box, Size client, u32 dpi);

// A box of `size` in the middle of `over`, moved so that it lies within `workArea`. What is larger
// than the work area keeps its left upper corner in it.
Box CentredOver(const Box& over, Size size, const Box& workArea);

}  // namespace larkspur
