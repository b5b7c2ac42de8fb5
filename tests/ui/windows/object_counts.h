// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How many of the system's drawing and window objects this process holds.

#include "base/types.h"

namespace larkspur {

struct ObjectCounts {
  u32 gdi = 0;
  u32 user = 0;
};

// The system's own counts. Wine has none (it answers 0): there, the entries of the process's table
// of drawing objects that are in use, and for windows, icons and menus, which are numbered from a
// pool of free numbers, the highest of some new numbers: it grows when numbers do not come back.
ObjectCounts CountObjects();

}  // namespace larkspur
