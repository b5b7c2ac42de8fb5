// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/text_room.h"

#include <algorithm>

namespace larkspur {
namespace {

constexpr char16_t kEllipsis = u'\u2026';

bool IsSecondHalf(char16_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

// With `kept` characters of the text, or one less where that would cut a character in two.
std::u16string WithKept(std::u16string_view text, size_t kept) {
  size_t head = kept / 3, tail = text.size() - (kept - head);
  if (head > 0 && IsSecondHalf(text[head])) --head;
  if (tail < text.size() && IsSecondHalf(text[tail])) ++tail;
  return std::u16string(text.substr(0, head)) + kEllipsis + std::u16string(text.substr(tail));
}

}  // namespace

std::u16string ShortenedText(std::u16string_view text, i32 room,
                             const std::function<i32(std::u16string_view)>& widthOf) {
  if (text.empty() || widthOf(text) <= room) return std::u16string(text);
  size_t fitting = 0, tooMany = text.size();
  while (fitting + 1 < tooMany) {
    const size_t kept = (fitting + tooMany) / 2;
    (widthOf(WithKept(text, kept)) <= room ? fitting : tooMany) = kept;
  }
  return WithKept(text, fitting);
}

std::vector<i32> ColumnWidths(std::span<const ColumnNeed> columns, i32 room) {
  std::vector<i32> widths;
  for (const ColumnNeed& column : columns) {
    widths.push_back(column.wanted);
    room -= column.wanted;
  }
  for (size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].grows) continue;
    const i32 least = std::min(columns[i].least, columns[i].wanted);
    const i32 change = std::max(room, least - columns[i].wanted);
    widths[i] += change;
    room -= change;
  }
  return widths;
}

}  // namespace larkspur
