// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// The heap that the host and its modules share, under the name that modules ask for.

#include <windows.h>

extern "C" __declspec(dllexport) void* __get_process_shared_heap(void) {
  static const HANDLE heap = HeapCreate(0, 1024, 0);
  return heap;
}
