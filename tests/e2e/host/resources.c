// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "resources.h"

#include <stdio.h>

// More than the numbers that a hundred forms leave free: fewer would only show which of those the
// system hands out first.
enum { kProbes = 1024 };

static DWORD Higher(DWORD highest, HANDLE handle, DWORD mask) {
  const DWORD number = (DWORD)(UINT_PTR)handle & mask;
  return number > highest ? number : highest;
}

static DWORD HighestGdi(void) {
  HBRUSH probes[kProbes];
  DWORD highest = 0;
  for (int i = 0; i < kProbes; ++i) {
    probes[i] = CreateSolidBrush((COLORREF)(i + 1));
    highest = Higher(highest, probes[i], 0xFFFF);
  }
  for (int i = 0; i < kProbes; ++i) DeleteObject(probes[i]);
  return highest;
}

static DWORD HighestUser(void) {
  HWND probes[kProbes];
  DWORD highest = 0;
  for (int i = 0; i < kProbes; ++i) {
    probes[i] = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, NULL, NULL);
    highest = Higher(highest, probes[i], 0xFFFF);
  }
  for (int i = 0; i < kProbes; ++i) DestroyWindow(probes[i]);
  return highest;
}

static DWORD HighestHandle(void) {
  HANDLE probes[kProbes];
  DWORD highest = 0;
  for (int i = 0; i < kProbes; ++i) {
    probes[i] = CreateEventW(NULL, FALSE, FALSE, NULL);
    highest = Higher(highest, probes[i], 0xFFFFFFFF);
  }
  for (int i = 0; i < kProbes; ++i) CloseHandle(probes[i]);
  return highest / 4;
}

static void CountBlocks(HANDLE heap, Resources* seen) {
  PROCESS_HEAP_ENTRY entry = {0};
  HeapLock(heap);
  while (HeapWalk(heap, &entry)) {
    if (!(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)) continue;
    ++seen->heapBlocks;
    seen->heapBytes += entry.cbData;
  }
  HeapUnlock(heap);
}

Resources CountResources(HANDLE heap) {
  Resources seen = {0};
  CountBlocks(heap, &seen);
  seen.gdiObjects = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  seen.userObjects = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  GetProcessHandleCount(GetCurrentProcess(), &seen.handles);
  seen.highestGdi = HighestGdi();
  seen.highestUser = HighestUser();
  seen.highestHandle = HighestHandle();
  return seen;
}

static bool Stays(const char* what, size_t before, size_t after, size_t spare) {
  printf(" %s %zu (%zu)", what, after, before);
  return after <= before + spare;
}

bool CompareResources(const char* when, const Resources* before, const Resources* after,
                      size_t spareHandles) {
  printf("%s, with what was before:", when);
  bool stays = Stays("blocks", before->heapBlocks, after->heapBlocks, 0);
  stays = Stays("bytes", before->heapBytes, after->heapBytes, 0) && stays;
  stays = Stays("GDI", before->gdiObjects, after->gdiObjects, 0) && stays;
  stays = Stays("USER", before->userObjects, after->userObjects, 0) && stays;
  stays = Stays("highest GDI", before->highestGdi, after->highestGdi, 0) && stays;
  stays = Stays("highest USER", before->highestUser, after->highestUser, 0) && stays;
  stays =
      Stays("highest handle", before->highestHandle, after->highestHandle, spareHandles) && stays;
  puts("");
  return stays;
}
