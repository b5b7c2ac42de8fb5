// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/used.h"

namespace larkspur {

WalkEnd AddUsed(WalkedStorage* storage, SectorRange volume, const std::atomic<bool>& stop,
                ExtentSet* used) {
  WalkEvents events;
  events.used = [used](SectorRange area) { used->Add(area); };
  // Where the map of free blocks is wrong, files may be in what it calls free.
  events.file = [used](const FoundFile& file) {
    if (file.deleted) return;
    for (const SectorRange& area : file.areas) used->Add(area);
  };
  const WalkEnd end = WalkFiles(storage, volume.first, volume.count, events, stop);
  if (end == WalkEnd::kNoFileSystem || end == WalkEnd::kFailed) used->Add(volume);
  return end;
}

}  // namespace larkspur
