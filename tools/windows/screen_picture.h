// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur {

// What the screen shows in a rectangle, a pixel 0x00RRGGBB, row by row.
struct ScreenPixels {
  int width = 0;
  int height = 0;
  std::vector<u32> pixels;
  bool operator==(const ScreenPixels&) const = default;
};

// Of a whole window, and of its client area alone, which has no frame and no title.
ScreenPixels WindowPixels(HWND window);
ScreenPixels ClientPixels(HWND window);

// Saves them as a PNG file. False when it cannot be written.
bool SavePicture(const ScreenPixels& pixels, const std::u16string& path);
bool SavePicture(HWND window, const std::u16string& path);

}  // namespace larkspur
