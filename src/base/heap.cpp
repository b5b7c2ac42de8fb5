// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/heap.h"

#include "platform/shared_heap.h"

namespace larkspur {

void* HeapAllocate(size_t bytes) noexcept {
  return platform::SharedHeapAllocate(bytes);
}

void HeapRelease(void* block) noexcept {
  if (block) platform::SharedHeapRelease(block);
}

}  // namespace larkspur
