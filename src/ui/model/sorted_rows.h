// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The order in which a list shows the rows of its model.

#include <vector>

#include "base/types.h"

namespace larkspur {

// Says which of two rows comes first. One provider serves one column.
class cSortProvider {
 public:
  // Below 0, 0 or above 0 as row `a` of the model comes before, beside or after row `b`.
  virtual int Compare(u32 a, u32 b) const = 0;

 protected:
  ~cSortProvider() = default;
};

// Maps positions on the screen to rows of the model. Unsorted it is the identity and needs no
// memory; rows that compare equal keep the model's order, whichever way the sort runs.
class cSortedRows {
 public:
  // Forgets any order: positions are rows.
  void Reset(u32 count);
  // Sorts by `provider`, the last row first when `descending`.
  void Sort(const cSortProvider& provider, bool descending);

  u32 Count() const { return m_count; }
  // REQUIRES: position < Count()
  u32 RowAt(u32 position) const { return m_rows.empty() ? position : m_rows[position]; }
  // REQUIRES: row < Count()
  u32 PositionOf(u32 row) const;

 private:
  u32 m_count = 0;
  std::vector<u32> m_rows;
};

}  // namespace larkspur
