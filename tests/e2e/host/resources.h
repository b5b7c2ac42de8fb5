// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the process holds of the system, to see whether it grows.

#include <windows.h>

#include <stdbool.h>

typedef struct {
  size_t heapBlocks;  // in use
  size_t heapBytes;
  DWORD gdiObjects, userObjects;  // 0 on systems that do not count them
  DWORD handles;
  // The highest of some handles made for the purpose: numbers are used again, so these rise with
  // what is not given back, on every system.
  DWORD highestGdi, highestUser, highestHandle;
} Resources;

Resources CountResources(HANDLE heap);

// Whether nothing has grown, but for that many handles; says so on the console.
bool CompareResources(const char* when, const Resources* before, const Resources* after,
                      size_t spareHandles);
