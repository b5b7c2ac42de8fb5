// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/shared_heap.h"

#include <windows.h>

namespace larkspur::platform {
namespace {

constexpr SIZE_T kInitialBytes = 1024;

// Not locked: two first allocations that race both find the host's one heap.
HANDLE g_heap = nullptr;

HANDLE AskHost() {
  using HeapQuery = void* (*)();
  const FARPROC found = GetProcAddress(GetModuleHandleW(nullptr), "__get_process_shared_heap");
  if (!found) return nullptr;
  return reinterpret_cast<HeapQuery>(reinterpret_cast<void*>(found))();
}

}  // namespace

void* SharedHeapHandle() noexcept {
  if (!g_heap) g_heap = AskHost();
  return g_heap;
}

void* SharedHeapHandleOrNew() noexcept {
  if (!SharedHeapHandle()) g_heap = HeapCreate(0, kInitialBytes, 0);
  return g_heap;
}

void* SharedHeapAllocate(size_t bytes) noexcept {
  const HANDLE heap = SharedHeapHandle();
  return heap ? HeapAlloc(heap, 0, bytes) : nullptr;
}

void SharedHeapRelease(void* block) noexcept {
  if (g_heap) HeapFree(g_heap, 0, block);
}

}  // namespace larkspur::platform
