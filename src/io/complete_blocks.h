// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Blocks of a sparse image that are known to be complete: they have a record, and no sector of them
// is missing. Reading and marking never change that, whatever else writes to the file: an index
// entry that names a record keeps it, and a status goes back to missing only by MarkMissing, after
// which everything is forgotten (SharedFile::demotions). So this may be remembered where nothing
// else may, and a complete block be read without asking for its index entry and its map.
//
// A table of fixed size, made on first use; a block that falls on another's slot replaces it.

#include <memory>
#include <new>

#include "base/types.h"
#include "io/sparse_layout.h"

namespace larkspur {

class CompleteBlocks {
 public:
  // The record of a complete block; kNowhere when nothing is remembered of the block.
  u64 Find(u64 block) const {
    if (!m_slots) return kNowhere;
    const Slot& slot = m_slots[block % kSlots];
    return slot.block == block && slot.record != kNoRecord ? slot.record : kNowhere;
  }

  // Does nothing without memory.
  void Remember(u64 block, u64 record) {
    if (!m_slots) m_slots.reset(new (std::nothrow) Slot[kSlots]);
    if (m_slots) m_slots[block % kSlots] = {static_cast<u32>(block), static_cast<u32>(record)};
  }

  void Forget() { m_slots.reset(); }

 private:
  static constexpr u64 kSlots = 1 << 15;  // 256 KiB, for 2 GiB of an image

  struct Slot {
    u32 block = 0;
    u32 record = kNoRecord;
  };

  std::unique_ptr<Slot[]> m_slots;
};

}  // namespace larkspur
