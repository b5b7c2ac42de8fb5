// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text_single_byte.h"

#include <mutex>

namespace larkspur::text {
namespace {

// The bytes of a page by character: rows of 256 for the high bytes that occur, and row 0 for all
// others, which holds no character. Byte 0 in a row means none; U+0000 is byte 0 in every page.
constexpr size_t kMaxRows = 16;    // above what any page needs: a dozen
constexpr size_t kMaxTables = 32;  // above the number of pages

struct ReverseTable {
  std::once_flag built;
  u8 rowOf[256] = {};
  u8 rows[kMaxRows][256] = {};
};

// Built from the stored table when a page is first written; until then it takes up no memory, which
// a constructor at the program's start would touch.
constinit ReverseTable g_reverse[kMaxTables];

void Build(const SingleByteTable& table, ReverseTable& reverse) {
  u8 rows = 1;
  for (size_t byte = 1; byte < 256; ++byte) {
    const char16_t unit = table.units[byte];
    u8& row = reverse.rowOf[unit >> 8];
    if (row == 0 && rows < kMaxRows) row = rows++;
    if (row != 0) reverse.rows[row][unit & 0xFF] = static_cast<u8>(byte);
  }
}

const ReverseTable& ReverseOf(const SingleByteTable& table) {
  ReverseTable& reverse = g_reverse[&table - kSingleByteTables];
  std::call_once(reverse.built, [&] { Build(table, reverse); });
  return reverse;
}

}  // namespace

const SingleByteTable* FindSingleByte(u32 codePage) {
  for (size_t i = 0; i < kSingleByteTableCount && i < kMaxTables; ++i) {
    if (kSingleByteTables[i].codePage == codePage) return &kSingleByteTables[i];
  }
  return nullptr;
}

size_t DecodeSingleByte(const SingleByteTable& table, const u8* bytes, size_t count,
                        WideOutput out) {
  if (count > out.Room()) return 0;
  for (size_t i = 0; i < count; ++i) out.Put(table.units[bytes[i]]);
  return out.Count();
}

size_t EncodeSingleByte(const SingleByteTable& table, const char16_t* text, size_t count,
                        ByteOutput out) {
  const ReverseTable& reverse = ReverseOf(table);
  const u8 unwritable = reverse.rows[reverse.rowOf[0]][kUnwritable];
  const char16_t* const end = text + count;
  while (text != end) {
    const u8 byte = reverse.rows[reverse.rowOf[*text >> 8]][*text & 0xFF];
    const bool found = byte != 0 || *text == 0;
    if (!out.Put(found ? byte : unwritable)) return 0;
    text += found ? 1 : CharacterUnits(text, end);
  }
  return out.Count();
}

}  // namespace larkspur::text
