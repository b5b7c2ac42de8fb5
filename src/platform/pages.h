// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Memory in whole pages, zeroed, from the system: what devices transfer to without a copy.

#include "base/types.h"

namespace larkspur::platform {

// Null without memory.
u8* AllocatePages(u32 bytes);
// Gives back what AllocatePages gave for the same size; null is fine.
void FreePages(u8* pages, u32 bytes);

class OwnedPages {
 public:
  OwnedPages() = default;
  explicit OwnedPages(u32 bytes) { Allocate(bytes); }
  OwnedPages(const OwnedPages&) = delete;
  OwnedPages& operator=(const OwnedPages&) = delete;
  ~OwnedPages() { Free(); }

  // Gives back what there is and takes new pages; false without memory.
  bool Allocate(u32 bytes) {
    Free();
    m_pages = AllocatePages(bytes);
    m_bytes = m_pages ? bytes : 0;
    return m_pages != nullptr;
  }
  void Free() {
    FreePages(m_pages, m_bytes);
    m_pages = nullptr;
    m_bytes = 0;
  }
  u8* Data() const { return m_pages; }
  u32 Size() const { return m_bytes; }

 private:
  u8* m_pages = nullptr;
  u32 m_bytes = 0;
};

}  // namespace larkspur::platform
