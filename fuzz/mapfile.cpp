// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A ddrescue mapfile of any bytes: what is read of it is in order and without overlaps.

#include "imaging/mapfile.h"

#include <cstdlib>
#include <sstream>

#include <fmt/core.h>

#include "fuzz/targets.h"
#include "imaging/import.h"

namespace larkspur::fuzz {
namespace {

void CheckOrder(const std::vector<SectorRange>& ranges) {
  u64 end = 0;
  for (const SectorRange& range : ranges) {
    if (range.count == 0 || range.first < end) std::abort();
    end = range.End();
  }
}

}  // namespace

std::string RunMapfile(std::span<const u8> input) {
  std::istringstream in{std::string(AsText(input))};
  const auto blocks = ParseMapfile(in);
  if (!blocks) return fmt::format("line {}: {}", blocks.error().line, blocks.error().detail);
  const ImportPlan plan = PlanImport(*blocks);
  std::string told = fmt::format("{} sectors and {} bytes", plan.sectors, plan.trailingBytes);
  for (const auto& list : {FinishedSectors(*blocks), plan.present, plan.unreadable, plan.tried}) {
    CheckOrder(list);
    told += '\n';
    for (const SectorRange& range : list) told += fmt::format(" {}+{}", range.first, range.count);
  }
  return told;
}

}  // namespace larkspur::fuzz
