// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The process-wide heap. Windows: the heap that the host executable names by its export
// `__get_process_shared_heap`, looked up until it is found; without one, none. Elsewhere: malloc.

#include "base/types.h"

namespace larkspur::platform {

// Null when there is no shared heap or no room.
void* SharedHeapAllocate(size_t bytes) noexcept;

// `block` is not null. Does nothing while there is no shared heap.
void SharedHeapRelease(void* block) noexcept;

// The heap's handle as the host contract passes it; null when there is none yet.
void* SharedHeapHandle() noexcept;

// The heap's handle: the host's, and a heap of our own where the host has none. Null only when that
// fails, or where the system has no heap handles.
void* SharedHeapHandleOrNew() noexcept;

}  // namespace larkspur::platform
