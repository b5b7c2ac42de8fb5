// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A view onto a range of another bitmap, with the same operations: a callee fills the part of its
// caller's map that belongs to its own share of a transfer.

#include "io/bit_map.h"

namespace larkspur {

class cSubBitMap final : public cBitMap {
 public:
  static constexpr u64 kToTheEnd = ~u64{0};

  // View bit i is bit first + i of `parent`, for i below `length`; kToTheEnd reaches to the
  // parent's end. `parent` is not owned, outlives the view, and may be null: then no bit exists.
  cSubBitMap(cBitMap* parent, u64 first, u64 length);

  u64 GetBitCount() override;
  bool Test(u64 bit) override;
  void SetRange(u64 start, u64 count, bool value) override;
  void Set(u64 bit, bool value) override;
  bool AnySet(u64 start, u64 count) override;
  u64 CountSetRun(u64 start) override;
  u64 CountClearRun(u64 start) override;
  void Fill(bool value) override;
  void* Destroy(u32 flags) override;

 private:
  bool Has(u64 bit) const { return m_parent && bit < m_length; }

  cBitMap* m_parent;
  u64 m_first;
  u64 m_length;
};

}  // namespace larkspur
