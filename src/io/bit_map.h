// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A bit for every sector of a transfer: which ones are present, which ones to write, which ones
// must still be fetched. Bit i lies in 32-bit word i >> 5, at bit i mod 32. Bits at or past the
// bit count do not exist: they read as clear and setting them does nothing.
//
// A host calls these operations by their slot, so their order is fixed, and a host may hand in a
// map of its own class: callers go through the operations only. No locks.

#include "base/types.h"

namespace larkspur {

class cBitMap {
 public:
  // A map of `bits` clear bits; of no bits when there is no memory for them.
  explicit cBitMap(u64 bits);
  cBitMap(const cBitMap&) = delete;
  cBitMap& operator=(const cBitMap&) = delete;
  ~cBitMap();

  virtual u64 GetBitCount();   // slot 0
  virtual bool Test(u64 bit);  // slot 1
  // Sets or clears [start, start+count), cut at the end of the map.
  virtual void SetRange(u64 start, u64 count, bool value);  // slot 2
  virtual void Set(u64 bit, bool value);                    // slot 3
  // Whether any bit of [start, start+count), cut at the end of the map, is set.
  virtual bool AnySet(u64 start, u64 count);  // slot 4
  // How many bits from `start` on are all set (all clear); 0 when `start` is out of range.
  virtual u64 CountSetRun(u64 start);    // slot 5
  virtual u64 CountClearRun(u64 start);  // slot 6
  virtual void Fill(bool value);         // slot 7
  virtual void* Destroy(u32 flags);      // slot 8

 private:
  // The bits of word `index` that differ from `value`'s pattern, as set bits.
  u32 Differing(u64 index, bool value) const;
  u64 CountRun(u64 start, bool value) const;

  u32* m_words = nullptr;
  u64 m_wordCount = 0;
  u64 m_bitCount = 0;
};

// A view onto a range of another bitmap, with the same operations: a callee fills the part of its
// caller's map that belongs to its own share of a transfer.
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
