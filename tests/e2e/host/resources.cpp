// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
extern "C" {
#include "resources.h"
}

#include <stdio.h>

#include "ui/windows/process_resources.h"

Resources CountResources(HANDLE heap) {
  Resources seen = {};
  PROCESS_HEAP_ENTRY entry = {};
  HeapLock(heap);
  while (HeapWalk(heap, &entry)) {
    if (!(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)) continue;
    ++seen.heapBlocks;
    seen.heapBytes += entry.cbData;
  }
  HeapUnlock(heap);
  const auto process = larkspur::ResourcesAtRest(GetCurrentProcess());
  seen.drawingObjects = process.drawingObjects;
  seen.windows = process.windows;
  seen.handles = process.handles;
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
  stays = Stays("drawing objects", before->drawingObjects, after->drawingObjects, 0) && stays;
  stays = Stays("windows", before->windows, after->windows, 0) && stays;
  stays = Stays("handles", before->handles, after->handles, spareHandles) && stays;
  puts("");
  return stays && before->drawingObjects > 0 && before->handles > 0;
}
