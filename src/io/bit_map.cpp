// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/bit_map.h"

#include <algorithm>
#include <bit>
#include <new>

#include "base/owned.h"

namespace larkspur {
namespace {

constexpr u32 kWordBits = 32;

u64 WordOf(u64 bit) {
  return bit >> 5;
}
u32 BitOf(u64 bit) {
  return static_cast<u32>(bit % kWordBits);
}

// A word whose bits [first, first+count) are set; first + count is at most 32, count at least 1.
u32 Mask(u32 first, u32 count) {
  return (~u32{0} >> (kWordBits - count)) << first;
}

}  // namespace

cBitMap::cBitMap(u64 bits) {
  const u64 words = bits / kWordBits + (bits % kWordBits != 0);
  if (words == 0 || words > SIZE_MAX / sizeof(u32)) return;
  m_words = new (std::nothrow) u32[words]();
  if (!m_words) return;
  m_wordCount = words;
  m_bitCount = bits;
}

cBitMap::~cBitMap() {
  delete[] m_words;
}

u64 cBitMap::GetBitCount() {
  return m_bitCount;
}

bool cBitMap::Test(u64 bit) {
  return bit < m_bitCount && (m_words[WordOf(bit)] >> BitOf(bit) & 1) != 0;
}

void cBitMap::SetRange(u64 start, u64 count, bool value) {
  if (start >= m_bitCount) return;
  count = std::min(count, m_bitCount - start);
  while (count > 0) {
    const u32 first = BitOf(start);
    const u32 here = static_cast<u32>(std::min<u64>(count, kWordBits - first));
    const u32 mask = Mask(first, here);
    u32& word = m_words[WordOf(start)];
    word = value ? word | mask : word & ~mask;
    start += here;
    count -= here;
  }
}

void cBitMap::Set(u64 bit, bool value) {
  SetRange(bit, 1, value);
}

bool cBitMap::AnySet(u64 start, u64 count) {
  if (count == 0 || start >= m_bitCount) return false;
  return CountRun(start, false) < std::min(count, m_bitCount - start);
}

u64 cBitMap::CountSetRun(u64 start) {
  return CountRun(start, true);
}
u64 cBitMap::CountClearRun(u64 start) {
  return CountRun(start, false);
}

u32 cBitMap::Differing(u64 index, bool value) const {
  return value ? ~m_words[index] : m_words[index];
}

u64 cBitMap::CountRun(u64 start, bool value) const {
  if (start >= m_bitCount) return 0;
  u64 index = WordOf(start);
  u32 differing = Differing(index, value) & (~u32{0} << BitOf(start));
  while (differing == 0 && ++index < m_wordCount) differing = Differing(index, value);
  if (differing == 0) return m_bitCount - start;
  const u64 end = index * kWordBits + static_cast<u32>(std::countr_zero(differing));
  return std::min(end, m_bitCount) - start;
}

void cBitMap::Fill(bool value) {
  std::fill_n(m_words, m_wordCount, value ? ~u32{0} : u32{0});
}

void* cBitMap::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

cSubBitMap::cSubBitMap(cBitMap* parent, u64 first, u64 length)
    : cBitMap(0), m_parent(parent), m_first(first), m_length(length) {
  if (length != kToTheEnd) return;
  const u64 end = parent ? parent->GetBitCount() : 0;
  m_length = end > first ? end - first : 0;
}

u64 cSubBitMap::GetBitCount() {
  return m_length;
}

bool cSubBitMap::Test(u64 bit) {
  return Has(bit) && m_parent->Test(m_first + bit);
}

void cSubBitMap::SetRange(u64 start, u64 count, bool value) {
  if (Has(start)) m_parent->SetRange(m_first + start, std::min(count, m_length - start), value);
}

void cSubBitMap::Set(u64 bit, bool value) {
  if (Has(bit)) m_parent->Set(m_first + bit, value);
}

bool cSubBitMap::AnySet(u64 start, u64 count) {
  return Has(start) && m_parent->AnySet(m_first + start, std::min(count, m_length - start));
}

u64 cSubBitMap::CountSetRun(u64 start) {
  return Has(start) ? std::min(m_parent->CountSetRun(m_first + start), m_length - start) : 0;
}

u64 cSubBitMap::CountClearRun(u64 start) {
  return Has(start) ? std::min(m_parent->CountClearRun(m_first + start), m_length - start) : 0;
}

void cSubBitMap::Fill(bool value) {
  SetRange(0, m_length, value);
}

void* cSubBitMap::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

}  // namespace larkspur
