// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Integers at a place in a byte buffer, read and written a byte at a time: no alignment is asked,
// and compilers turn each into one move. The caller guarantees that the bytes are there; for
// bytes from a disk use ByteReader, which checks.

#include "base/types.h"

namespace larkspur {

inline u16 LoadLe16(const u8* p) {
  return static_cast<u16>(p[0] | p[1] << 8);
}
inline u32 LoadLe32(const u8* p) {
  return LoadLe16(p) | static_cast<u32>(LoadLe16(p + 2)) << 16;
}
inline u64 LoadLe64(const u8* p) {
  return LoadLe32(p) | static_cast<u64>(LoadLe32(p + 4)) << 32;
}

inline u16 LoadBe16(const u8* p) {
  return static_cast<u16>(p[0] << 8 | p[1]);
}
inline u32 LoadBe32(const u8* p) {
  return static_cast<u32>(LoadBe16(p)) << 16 | LoadBe16(p + 2);
}
inline u64 LoadBe64(const u8* p) {
  return static_cast<u64>(LoadBe32(p)) << 32 | LoadBe32(p + 4);
}

inline void StoreLe16(u8* p, u16 value) {
  p[0] = static_cast<u8>(value);
  p[1] = static_cast<u8>(value >> 8);
}
inline void StoreLe32(u8* p, u32 value) {
  StoreLe16(p, static_cast<u16>(value));
  StoreLe16(p + 2, static_cast<u16>(value >> 16));
}
inline void StoreLe64(u8* p, u64 value) {
  StoreLe32(p, static_cast<u32>(value));
  StoreLe32(p + 4, static_cast<u32>(value >> 32));
}

inline void StoreBe16(u8* p, u16 value) {
  p[0] = static_cast<u8>(value >> 8);
  p[1] = static_cast<u8>(value);
}
inline void StoreBe32(u8* p, u32 value) {
  StoreBe16(p, static_cast<u16>(value >> 16));
  StoreBe16(p + 2, static_cast<u16>(value));
}
inline void StoreBe64(u8* p, u64 value) {
  StoreBe32(p, static_cast<u32>(value >> 32));
  StoreBe32(p + 4, static_cast<u32>(value));
}

}  // namespace larkspur
