// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The one place of heap traffic that host and module share.
//
// The module's global operator new and delete call these two functions, so containers and objects
// follow without knowing. Programs of our own keep the run-time library's heap.

#include "base/types.h"

namespace larkspur {

// `bytes` bytes of the shared heap, or null when there is no shared heap or no room in it.
void* HeapAllocate(size_t bytes) noexcept;

// Gives a block back. Null is ignored, and so is every block while there is no shared heap.
void HeapRelease(void* block) noexcept;

}  // namespace larkspur
