// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text_double_byte.h"

#include <mutex>

#include "base/byte_reader.h"

namespace larkspur::text {
namespace {

constexpr size_t kPages = 4;

// Pairs that repeat a character of another pair and are never written. Of other pairs for one
// character the first is written.
bool IsReadOnlyPair(u32 codePage, u16 pair) {
  if (codePage == 932) return pair >= 0xED40 && pair <= 0xEEFC;  // IBM's, as NEC selected them
  if (codePage != 950) return false;
  return pair == 0xA2CC || pair == 0xA2CE || (pair >= 0xA2A4 && pair <= 0xA2A7);
}

// Unpacks the tokens of a page; tools/generate_code_pages.py tells what they mean.
void Unpack(std::span<const u8> tokens, std::span<char16_t> units) {
  ByteReader in(tokens);
  size_t at = 0;  // in `tokens`
  char16_t last = 0;
  for (size_t i = 0; i < units.size() && !in.Failed();) {
    const u8 token = in.U8(at++);
    if (token == 0) {
      i += in.U8(at++) + size_t{1};
      continue;
    }
    if (token == 1) {
      const size_t end = i + in.U8(at++) + 1;
      for (; i < end && i < units.size(); ++i) units[i] = ++last;
      continue;
    }
    if (token == 2) {
      last = in.Le16(at);
      at += 2;
    } else if (token < 0x80) {
      last = static_cast<char16_t>(last + token - 2);
    } else {
      last = static_cast<char16_t>(0x3000 + ((token & 0x7F) << 8 | in.U8(at++)));
    }
    units[i++] = last;
  }
}

struct Slot {
  std::once_flag built;
  DoubleBytePage page;
};

constinit Slot g_slots[kPages];

template <typename Output>
size_t Decode(const DoubleBytePage& page, const u8* at, size_t count, Output out) {
  const u8* const end = at + count;
  while (at != end) {
    const u8 byte = *at++;
    char16_t unit = page.Lone(byte);
    if (unit == 0 && byte != 0) {
      unit = at == end ? char16_t{0} : page.Pair(byte, *at);
      // A byte that ends no pair is looked at again, so that a damaged character costs no more
      // than itself.
      if (unit != 0 || (at != end && *at >= 0x80)) ++at;
      if (unit == 0) unit = kReplacement;
    }
    if (!out.Put(unit)) return 0;
  }
  return out.Count();
}

}  // namespace

const DoubleBytePage* DoubleBytePage::Find(u32 codePage) {
  for (size_t i = 0; i < kDoubleByteTableCount && i < kPages; ++i) {
    if (kDoubleByteTables[i].codePage != codePage) continue;
    std::call_once(g_slots[i].built, [i] { g_slots[i].page.Build(kDoubleByteTables[i]); });
    return &g_slots[i].page;
  }
  return nullptr;
}

void DoubleBytePage::Build(const DoubleByteTable& table) {
  m_table = &table;
  Unpack(table.cells, m_units);
  for (u16 byte = 1; byte < 0x100; ++byte) {
    if (const char16_t unit = Lone(static_cast<u8>(byte))) m_bytes[unit] = byte;
  }
  for (size_t i = 0; i < std::size(m_units); ++i) {
    const u16 pair =
        static_cast<u16>((kFirstLead + i / kTrails) << 8 | (kFirstTrail + i % kTrails));
    const char16_t unit = m_units[i];
    if (unit == 0 || m_bytes[unit] != 0 || IsReadOnlyPair(table.codePage, pair)) continue;
    m_bytes[unit] = pair;
  }
}

size_t DecodeDoubleByte(const DoubleBytePage& page, const u8* bytes, size_t count, WideOutput out) {
  return Decode(page, bytes, count, out);
}

size_t MeasureDoubleByte(const DoubleBytePage& page, const u8* bytes, size_t count) {
  return Decode(page, bytes, count, CountOutput());
}

size_t EncodeDoubleByte(const DoubleBytePage& page, const char16_t* text, size_t count,
                        ByteOutput out) {
  const char16_t* const end = text + count;
  while (text != end) {
    const char16_t unit = *text;
    u16 bytes = page.Bytes(unit);
    text += bytes == 0 ? CharacterUnits(text, end) : 1;
    if (bytes == 0 && unit != 0) bytes = kUnwritable;
    if (bytes > 0xFF && !out.Put(static_cast<u8>(bytes >> 8))) return 0;
    if (!out.Put(static_cast<u8>(bytes))) return 0;
  }
  return out.Count();
}

}  // namespace larkspur::text
