// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/sub_bit_map.h"

#include <algorithm>

#include "base/owned.h"

namespace larkspur {

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
