// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/sorted_rows.h"

#include <algorithm>
#include <numeric>

namespace larkspur {

void cSortedRows::Reset(u32 count) {
  m_count = count;
  m_rows.clear();
}

void cSortedRows::Sort(const cSortProvider& provider, bool descending) {
  m_rows.resize(m_count);
  std::iota(m_rows.begin(), m_rows.end(), 0u);
  std::stable_sort(m_rows.begin(), m_rows.end(), [&](u32 a, u32 b) {
    const int order = provider.Compare(a, b);
    return descending ? order > 0 : order < 0;
  });
}

u32 cSortedRows::PositionOf(u32 row) const {
  if (m_rows.empty()) return row;
  return static_cast<u32>(std::find(m_rows.begin(), m_rows.end(), row) - m_rows.begin());
}

}  // namespace larkspur
