// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/scan_limits.h"

#include "partitions/gpt_table.h"

namespace larkspur {
namespace {

// By budget.
constexpr std::array<u64, kBudgets> kLimits = {
    ScanLimits::kMaxNodes, ScanLimits::kMaxSectorsRead, u64{8} << 20, 1 << 17, 1 << 20, 8192,
    ScanLimits::kMaxDepth, GptTable::kMaxEntries,
};

}  // namespace

ScanLimits::ScanLimits() : m_left(kLimits) {}

bool ScanLimits::Spend(Budget budget, u64 amount) {
  if (amount > Left(budget)) return Refuse(budget);
  m_left[static_cast<size_t>(budget)] -= amount;
  return true;
}

bool ScanLimits::Refuse(Budget budget) {
  m_reached[static_cast<size_t>(budget)] = true;
  return false;
}

std::vector<LimitNote> ScanLimits::Reached() const {
  std::vector<LimitNote> reached;
  for (size_t i = 0; i < kBudgets; ++i) {
    const auto budget = static_cast<Budget>(i);
    if (IsReached(budget)) reached.push_back({budget, kLimits[i]});
  }
  return reached;
}

}  // namespace larkspur
