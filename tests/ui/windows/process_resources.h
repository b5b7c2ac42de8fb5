// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a process holds of the system.

#include <windows.h>

#include "base/types.h"

namespace larkspur {

struct ProcessResources {
  u32 handles = 0;
  u32 drawingObjects = 0;
  u32 windows = 0;
  u64 privateBytes = 0;

  bool operator==(const ProcessResources&) const = default;
};

// The system's own counts where it has them. Wine answers 0 for handles and drawing objects: there,
// the process's rows in the table of all handles, and the used rows of its own table of drawing
// objects.
ProcessResources ResourcesOf(HANDLE process);

// The same once they stay as they are: what is drawn after the last command has been drawn.
ProcessResources ResourcesAtRest(HANDLE process);

}  // namespace larkspur
