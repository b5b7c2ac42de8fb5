// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Pages of one and two bytes a character: 932, 936, 949 and 950. A page's stored tokens are
// unpacked when it is first used, into static memory that costs nothing until then.

#include "base/text_output.h"
#include "base/text_tables.h"

namespace larkspur::text {

constexpr u8 kFirstLead = 0x81, kLastLead = 0xFE;
constexpr u8 kFirstTrail = 0x40, kLastTrail = 0xFE;
constexpr size_t kLeads = kLastLead - kFirstLead + 1;
constexpr size_t kTrails = kLastTrail - kFirstTrail + 1;

class DoubleBytePage {
 public:
  // The page, ready for use; null when it is none of the four.
  static const DoubleBytePage* Find(u32 codePage);

  // The character of a byte that stands alone; 0 for lead bytes (and for the byte 0).
  char16_t Lone(u8 byte) const { return byte < 0x80 ? byte : m_table->lone[byte - 0x80]; }

  // The character of a pair; 0 when it is undefined.
  char16_t Pair(u8 lead, u8 trail) const {
    if (lead < kFirstLead || lead > kLastLead) return 0;
    if (trail < kFirstTrail || trail > kLastTrail) return 0;
    return m_units[(lead - kFirstLead) * kTrails + (trail - kFirstTrail)];
  }

  // The bytes of a character, lead << 8 | trail or a lone byte; 0 when it has none.
  u16 Bytes(char16_t unit) const { return m_bytes[unit]; }

 private:
  void Build(const DoubleByteTable& table);

  const DoubleByteTable* m_table = nullptr;
  char16_t m_units[kLeads * kTrails] = {};
  u16 m_bytes[0x10000] = {};
};

size_t DecodeDoubleByte(const DoubleBytePage& page, const u8* bytes, size_t count, WideOutput out);
size_t MeasureDoubleByte(const DoubleBytePage& page, const u8* bytes, size_t count);
size_t EncodeDoubleByte(const DoubleBytePage& page, const char16_t* text, size_t count,
                        ByteOutput out);

}  // namespace larkspur::text
