// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the process holds of the system, to see whether it grows: of the host's C, and of the C++
// that counts it.

#include <windows.h>

#include <stdbool.h>

typedef struct {
  size_t heapBlocks;  // in use
  size_t heapBytes;
  size_t drawingObjects, windows, handles;
} Resources;

Resources CountResources(HANDLE heap);

// Whether nothing has grown, but for that many handles; says so on the console.
bool CompareResources(const char* when, const Resources* before, const Resources* after,
                      size_t spareHandles);
