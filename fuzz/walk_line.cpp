// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What the helper that reads file systems says, of any bytes: whatever it is, nothing outside the
// volume is read or told, and paths are paths.

#include <cstring>
#include <string_view>

#include <fmt/core.h>

#include "fakes/said_line.h"
#include "files/walk.h"
#include "files/walker.h"
#include "fuzz/targets.h"

namespace larkspur::fuzz {
namespace {

constexpr SectorRange kVolume{100, 5000};

void CheckInside(SectorRange range) {
  Require(range.first >= kVolume.first && range.first <= kVolume.End());
  Require(range.count <= kVolume.End() - range.first);
}

// Half of it is there.
class HalfStorage final : public WalkedStorage {
 public:
  bool Read(u64 first, u32 count, u8* buffer, bool) override {
    CheckInside({first, count});
    Require(count <= kMaxWalkRead);
    std::memset(buffer, 0, u64{count} * kSectorBytes);
    return first % 2 == 0;
  }
};

void Append(SectorRange range, std::string* told) {
  CheckInside(range);
  *told += fmt::format(" {}+{}", range.first, range.count);
}

void AppendPath(const std::string& path, std::string* told) {
  Require(path.starts_with('/') && path.find('\0') == std::string::npos);
  *told += path;
}

WalkEvents CheckedEvents(bool withUsed, std::string* told) {
  WalkEvents events;
  const auto append = [told](SectorRange range) { Append(range, told); };
  events.opened = [told](const std::string& kind, const std::string& label) {
    Require(kind.find('\0') == std::string::npos);
    *told += kind + label;
  };
  events.file = [=](const FoundFile& file) {
    AppendPath(file.path, told);
    *told += fmt::format(" {} {} {}", file.size, file.deleted, file.known);
    for (const SectorRange& area : file.areas) append(area);
    file.lacking.Visit(append);
  };
  events.damaged = [=](const DamagedPart& part) {
    if (!part.path.empty()) AppendPath(part.path, told);
    part.lacking.Visit(append);
  };
  if (withUsed) events.used = append;
  return events;
}

}  // namespace

std::string RunWalkLine(std::span<const u8> input) {
  std::string told;
  for (const bool withUsed : {false, true}) {
    fakes::SaidLine line(AsText(input));
    HalfStorage storage;
    const WalkEnd end =
        ServeWalk(line, &storage, kVolume.first, kVolume.count, CheckedEvents(withUsed, &told));
    told += fmt::format(" end {}\n", static_cast<int>(end));
  }
  return told;
}

}  // namespace larkspur::fuzz
