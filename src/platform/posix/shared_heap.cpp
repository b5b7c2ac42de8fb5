// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/shared_heap.h"

#include <cstdlib>

namespace larkspur::platform {

void* SharedHeapAllocate(size_t bytes) noexcept {
  return std::malloc(bytes);
}
void SharedHeapRelease(void* block) noexcept {
  std::free(block);
}
void* SharedHeapHandle() noexcept {
  return nullptr;
}
void* SharedHeapHandleOrNew() noexcept {
  return nullptr;
}

}  // namespace larkspur::platform
