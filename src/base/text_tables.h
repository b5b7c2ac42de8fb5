// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The tables of the code pages as they are stored; text_tables_generated.cpp holds them.

#include <span>

#include "base/types.h"

namespace larkspur::text {

struct SingleByteTable {
  u32 codePage;
  char16_t units[256];  // the character of each byte; no two bytes share one
};

struct DoubleByteTable {
  u32 codePage;
  char16_t lone[128];         // the character of each byte 0x80..0xFF that stands alone; 0: leads
  std::span<const u8> cells;  // tokens for the pairs; the generator tells what each means
};

extern const SingleByteTable kSingleByteTables[];
extern const size_t kSingleByteTableCount;
extern const DoubleByteTable kDoubleByteTables[];
extern const size_t kDoubleByteTableCount;

}  // namespace larkspur::text
