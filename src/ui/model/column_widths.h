// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How the columns of a list share its width. Pixels throughout.

#include <span>
#include <vector>

#include "base/types.h"

namespace larkspur {

struct ColumnNeed {
  i32 wanted = 0;      // what its title and its widest text need
  bool grows = false;  // takes what is left over, and gives way where there is too little
  i32 least = 0;       // of a column that grows
};

// A width for each column. Together they fill `room`, where a column grows and the others leave it
// its least; they are wider than `room` where they do not.
std::vector<i32> ColumnWidths(std::span<const ColumnNeed> columns, i32 room);

}  // namespace larkspur
