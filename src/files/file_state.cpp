// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/file_state.h"

namespace larkspur {

FileState StateOf(std::vector<SectorRange> ranges, const StatusMap& map) {
  JoinRanges(&ranges);
  FileState state;
  for (const SectorRange& range : ranges) {
    const StatusCounts counts = map.Count(range.first, range.count);
    state.unreadable += counts.unreadable;
    state.missing += counts.missing + counts.unknown;
  }
  state.condition = state.unreadable > 0 ? FileCondition::kDamaged
                    : state.missing > 0  ? FileCondition::kIncomplete
                                         : FileCondition::kComplete;
  return state;
}

std::vector<SectorRange> NeedsOf(const FoundFile& file) {
  std::vector<SectorRange> ranges = file.areas;
  if (!file.known) ranges.insert(ranges.end(), file.lacking.begin(), file.lacking.end());
  return ranges;
}

FileState StateOf(const FoundFile& file, const StatusMap& map) {
  FileState state = StateOf(NeedsOf(file), map);
  // Its metadata is there and makes no sense: not even asking again helps.
  if (!file.known && state.condition == FileCondition::kComplete) {
    state.condition = FileCondition::kDamaged;
  }
  return state;
}

void AddLacking(const std::vector<SectorRange>& ranges, const StatusMap& map,
                std::vector<SectorRange>* lacking) {
  for (const SectorRange& range : ranges) {
    map.Visit(range.first, range.count, [lacking](u64 start, u64 sectors, SectorStatus status) {
      if (status != kPresent) lacking->push_back({start, sectors});
    });
  }
}

}  // namespace larkspur
