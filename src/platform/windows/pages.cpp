// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/pages.h"

#include <windows.h>

namespace larkspur::platform {

u8* AllocatePages(u32 bytes) {
  return static_cast<u8*>(VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
}

void FreePages(u8* pages, u32 /*bytes*/) {
  if (pages) VirtualFree(pages, 0, MEM_RELEASE);
}

}  // namespace larkspur::platform
