// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/file_state.h"

namespace larkspur {

FileState StateOf(const ExtentSet& sectors, StatusMap& map) {
  FileState state;
  sectors.Visit([&](SectorRange range) {
    const StatusCounts counts = map.Count(range.first, range.count);
    state.unreadable += counts.unreadable;
    state.missing += counts.missing + counts.unknown;
  });
  state.condition = state.unreadable > 0 ? FileCondition::kDamaged
                    : state.missing > 0  ? FileCondition::kIncomplete
                                         : FileCondition::kComplete;
  return state;
}

ExtentSet NeedsOf(const FoundFile& file) {
  ExtentSet needs;
  for (const SectorRange& area : file.areas) needs.Add(area);
  if (!file.known) needs.Add(file.lacking);
  return needs;
}

FileState StateOf(const FoundFile& file, StatusMap& map) {
  FileState state = StateOf(NeedsOf(file), map);
  // Its metadata is there and makes no sense: not even asking again helps.
  if (!file.known && state.condition == FileCondition::kComplete) {
    state.condition = FileCondition::kDamaged;
  }
  return state;
}

void AddLacking(const ExtentSet& sectors, StatusMap& map, ExtentSet* lacking) {
  sectors.Visit([&](SectorRange range) {
    map.Visit(range.first, range.count, [lacking](u64 start, u64 count, SectorStatus status) {
      if (status != kPresent) lacking->Add({start, count});
    });
  });
}

}  // namespace larkspur
