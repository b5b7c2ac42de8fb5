// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// ScanLimits: what a run may use up, so that a hostile or dying disk costs no more than it may.
//
// The limits are far above what real disks need; once one is reached, what would cost more is left
// out, so that what was found before stays and the run ends.

#include <array>
#include <vector>

#include "partitions/notes.h"

namespace larkspur {

enum class Budget : u8 {
  kNodes,      // a GPT disk has 128 entries, a fragmented volume group some thousand segments
  kSectors,    // read, whether from the storage or from what is kept of it
  kTextBytes,  // of metadata that is text: groups of LVM2 have some hundred KiB, LUKS less
  kItems,      // of such texts, or records of a dynamic disk's database, that are filed
  kLooks,      // at filed items, each time a volume is put together from them
  kPieces,     // of logical volumes
  // These have no count.
  kDepth,    // of the tree
  kEntries,  // of a GUID table
};
inline constexpr size_t kBudgets = 8;

class ScanLimits {
 public:
  // Nested volume managers end after a handful of levels.
  static constexpr u32 kMaxDepth = 32;
  static constexpr u32 kMaxNodes = 16384;
  // 128 MiB: sixteen sectors a node.
  static constexpr u64 kMaxSectorsRead = u64{1} << 18;

  ScanLimits();

  // Takes `amount` out of what is left of the budget. False, and the limit counts as reached, when
  // that is less.
  bool Spend(Budget budget, u64 amount);
  // Counts the limit as reached, and answers false.
  bool Refuse(Budget budget);
  u64 Left(Budget budget) const { return m_left[static_cast<size_t>(budget)]; }
  bool IsReached(Budget budget) const { return m_reached[static_cast<size_t>(budget)]; }
  // All that were reached.
  std::vector<LimitNote> Reached() const;

 private:
  std::array<u64, kBudgets> m_left;
  std::array<bool, kBudgets> m_reached{};
};

}  // namespace larkspur
