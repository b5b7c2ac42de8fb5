// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/pages.h"

#include <sys/mman.h>

namespace larkspur::platform {

u8* AllocatePages(u32 bytes) {
  void* pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages == MAP_FAILED ? nullptr : static_cast<u8*>(pages);
}

void FreePages(u8* pages, u32 bytes) {
  if (pages) munmap(pages, bytes);
}

}  // namespace larkspur::platform
