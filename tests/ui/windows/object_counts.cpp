// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/windows/object_counts.h"

#include <windows.h>

#include <algorithm>
#include <vector>

#include "ui/icon_images.h"

namespace larkspur {
namespace {

// The process's block points to the table at 0xF8 (64-bit Windows and Wine).
// A row of the table, 24 bytes:
//   0   8  the object
//   8   4  the process that owns it (2 bytes in use)
//   12  2  the number's upper half
//   14  1  kind, 0 when the row is free
//   15  1  flags
//   16  8  the object's address in the process
constexpr size_t kTable = 0xF8;
constexpr size_t kRows = 0x4000;
constexpr size_t kRowBytes = 24;
constexpr size_t kKind = 14;

const u8* AddressAt(const void* block, size_t offset) {
  return *reinterpret_cast<const u8* const*>(static_cast<const u8*>(block) + offset);
}

u32 CountTableRows() {
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetCurrentPeb");
  if (!found) return 0;
  const void* process = reinterpret_cast<const void*(WINAPI*)()>(reinterpret_cast<void*>(found))();
  const u8* table = AddressAt(process, kTable);
  if (!table) return 0;
  u32 used = 0;
  for (size_t row = 0; row < kRows; ++row) used += table[row * kRowBytes + kKind] != 0;
  return used;
}

u32 HighestNewNumber() {
  constexpr int kProbes = 16;
  std::vector<OwnedIcon> probes;
  u32 highest = 0;
  for (int i = 0; i < kProbes; ++i) {
    probes.push_back(MakeIcon(kIconAccept, 16));
    highest = std::max<u32>(highest, LOWORD(reinterpret_cast<UINT_PTR>(probes.back().get())));
  }
  return highest;
}

}  // namespace

ObjectCounts CountObjects() {
  const ObjectCounts told{GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS),
                          GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS)};
  if (told.gdi != 0 || told.user != 0) return told;
  return {CountTableRows(), HighestNewNumber()};
}

}  // namespace larkspur
