// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/message_layout.h"

#include <algorithm>

namespace larkspur {
namespace {

// Units.
constexpr i32 kSideMargins = 30;
constexpr i32 kHeightWithoutText = 105;
constexpr i32 kHeightOfOneLine = 115;
constexpr i32 kIconRoom = 37;
constexpr i32 kIcon = 32;
constexpr i32 kTop = 14;
constexpr i32 kBelowIcon = 5;

bool IsLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// How many units of `line`, which is too wide, fit into `room`: as many as possible, halving the
// range, so that a long line costs few measurements.
size_t UnitsThatFit(std::u16string_view line, i32 room,
                    const std::function<i32(std::u16string_view)>& widthOf) {
  size_t fits = 0, tooWide = line.size();
  while (tooWide - fits > 1) {
    const size_t middle = fits + (tooWide - fits) / 2;
    (widthOf(line.substr(0, middle)) <= room ? fits : tooWide) = middle;
  }
  // The two halves of one character stay together.
  if (fits > 0 && IsLowSurrogate(line[fits])) --fits;
  if (fits > 0) return fits;
  return line.size() > 1 && IsLowSurrogate(line[1]) ? 2 : 1;
}

// Lines are 1.5 line heights apart.
i32 LinesDown(size_t lines, i32 lineHeight) {
  return static_cast<i32>(static_cast<i64>(lines) * lineHeight * 3 / 2);
}

}  // namespace

std::vector<std::u16string> MessageLines(std::u16string_view text) {
  std::vector<std::u16string> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find(u'\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::vector<std::u16string> BrokenLine(std::u16string_view line, i32 room,
                                       const std::function<i32(std::u16string_view)>& widthOf) {
  std::vector<std::u16string> pieces;
  while (widthOf(line) > room && line.size() > 1) {
    const size_t fits = UnitsThatFit(line, room, widthOf);
    const size_t blank = line.substr(0, fits + 1).rfind(u' ');
    const bool atBlank = blank != line.npos && blank > 0;
    pieces.emplace_back(line.substr(0, atBlank ? blank : fits));
    line.remove_prefix(atBlank ? blank + 1 : fits);
  }
  if (!line.empty() || pieces.empty()) pieces.emplace_back(line);
  return pieces;
}

i32 MessageIconRoom(u32 dpi) {
  return Scaled(kIconRoom, dpi);
}

Size MessageFormSize(size_t lineCount, const MessageMeasures& measures) {
  const i32 width = measures.greatestWidth + Scaled(kSideMargins, measures.dpi);
  if (lineCount == 0) return {width, Scaled(kHeightWithoutText, measures.dpi)};
  return {width,
          Scaled(kHeightOfOneLine, measures.dpi) + LinesDown(lineCount - 1, measures.lineHeight)};
}

MessagePlaces PlaceMessage(size_t lineCount, i32 clientWidth, const MessageMeasures& measures) {
  const i32 margins = Scaled(kSideMargins, measures.dpi), left = margins / 2;
  const i32 icon = Scaled(kIcon, measures.dpi);
  const i32 beside = MessageIconRoom(measures.dpi);
  const i32 inner = clientWidth - margins;
  MessagePlaces places;
  places.icon = {left, Scaled(kTop, measures.dpi), icon, icon};
  const i32 below = places.icon.y + icon + Scaled(kBelowIcon, measures.dpi);
  for (size_t i = 0; i < lineCount; ++i) {
    if (i == 0) {
      places.lines.push_back({left + beside, places.icon.y + (icon - measures.lineHeight) / 2,
                              inner - beside, measures.lineHeight});
    } else {
      places.lines.push_back(
          {left, below + LinesDown(i - 1, measures.lineHeight), inner, measures.lineHeight});
    }
  }
  return places;
}

}  // namespace larkspur
