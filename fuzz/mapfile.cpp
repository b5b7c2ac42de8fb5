// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A ddrescue mapfile of any bytes: what is read of it is in order and without overlaps.

#include "imaging/mapfile.h"

#include <cstdlib>
#include <sstream>

#include "imaging/import.h"

namespace {

void CheckOrder(const std::vector<larkspur::SectorRange>& ranges) {
  larkspur::u64 end = 0;
  for (const larkspur::SectorRange& range : ranges) {
    if (range.count == 0 || range.first < end) std::abort();
    end = range.End();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  using namespace larkspur;
  std::istringstream in(std::string(reinterpret_cast<const char*>(bytes), count));
  const auto blocks = ParseMapfile(in);
  if (!blocks) return 0;
  CheckOrder(FinishedSectors(*blocks));
  const ImportPlan plan = PlanImport(*blocks);
  for (const auto* list : {&plan.present, &plan.unreadable, &plan.tried}) CheckOrder(*list);
  return 0;
}
