// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// In the module every object, buffer and string comes from the shared heap: host and module free
// each other's. Without a heap the forms that may throw do, and the exports answer failure.

#include <new>

#include "base/heap.h"

void* operator new(std::size_t bytes) {
  void* const block = larkspur::HeapAllocate(bytes);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t bytes) {
  return operator new(bytes);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return larkspur::HeapAllocate(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  return larkspur::HeapAllocate(bytes);
}

void operator delete(void* block) noexcept {
  larkspur::HeapRelease(block);
}
void operator delete[](void* block) noexcept {
  larkspur::HeapRelease(block);
}
void operator delete(void* block, std::size_t) noexcept {
  larkspur::HeapRelease(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  larkspur::HeapRelease(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  larkspur::HeapRelease(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  larkspur::HeapRelease(block);
}
