// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A picture in memory that becomes a PNG file.

#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur {

struct Colour {
  u8 red, green, blue;
  bool operator==(const Colour&) const = default;
};

class Canvas {
 public:
  Canvas(u32 width, u32 height, Colour background);

  // Fills a rectangle, cut at the picture's edges.
  void Fill(u32 x, u32 y, u32 width, u32 height, Colour colour);

  // The bytes of a PNG file; empty without memory.
  std::string ToPng() const;

 private:
  u32 m_width;
  u32 m_height;
  std::vector<Colour> m_pixels;
};

}  // namespace larkspur
