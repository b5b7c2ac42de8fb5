// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Texts and columns where there may be too little room.

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace larkspur {

// `text` where it fits into `room`; else as much of its beginning and its end as fits, with an
// ellipsis between them: twice as much of the end, which is what tells paths apart. `widthOf`
// measures texts in the unit of `room`.
std::u16string ShortenedText(std::u16string_view text, i32 room,
                             const std::function<i32(std::u16string_view)>& widthOf);

// How the columns of a list share its width. Pixels throughout.
struct ColumnNeed {
  i32 wanted = 0;      // what its title and its widest text need
  bool grows = false;  // takes what is left over, and gives way where there is too little
  i32 least = 0;       // of a column that grows
};

// A width for each column. Together they fill `room`, where a column grows and the others leave it
// its least; they are wider than `room` where they do not.
std::vector<i32> ColumnWidths(std::span<const ColumnNeed> columns, i32 room);

}  // namespace larkspur
