// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How large a message form is, and where its icon and lines stand. No windows.
//
// The first line stands beside the icon, the others below it from the left margin on, one and a
// half line heights apart.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ui/model/geometry.h"

namespace larkspur {

// The lines of a text: split at each line feed, of which one at the very end starts no other line.
std::vector<std::u16string> MessageLines(std::u16string_view text);

// A line in pieces of which none is wider than `room`, as `widthOf` measures them: broken at blanks
// and, where there are none, between characters. A piece has one character at least.
std::vector<std::u16string> BrokenLine(std::u16string_view line, i32 room,
                                       const std::function<i32(std::u16string_view)>& widthOf);

// What was measured with the fonts in use, in pixels.
struct MessageMeasures {
  i32 greatestWidth = 0;  // of all lines, the icon's room added to the first
  i32 lineHeight = 0;     // the greatest
  u32 dpi = kUnitDpi;
};

// The room beside the first line that its icon needs, in pixels.
i32 MessageIconRoom(u32 dpi);

// The client area in pixels for `lineCount` lines; 0 lines for an empty text.
Size MessageFormSize(size_t lineCount, const MessageMeasures& measures);

struct MessagePlaces {
  Box icon;
  std::vector<Box> lines;
};
MessagePlaces PlaceMessage(size_t lineCount, i32 clientWidth, const MessageMeasures& measures);

}  // namespace larkspur
