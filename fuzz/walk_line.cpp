// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What the helper that reads file systems says, of any bytes: whatever it is, nothing outside the
// volume is read or told, and paths are paths.

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "fakes/said_line.h"
#include "files/walk.h"
#include "files/walker.h"

namespace larkspur {
namespace {

constexpr SectorRange kVolume{100, 5000};

void Check(bool holds) {
  if (!holds) std::abort();
}

void CheckInside(SectorRange range) {
  Check(range.first >= kVolume.first && range.first <= kVolume.End());
  Check(range.count <= kVolume.End() - range.first);
}

// Half of it is there.
class HalfStorage final : public WalkedStorage {
 public:
  bool Read(u64 first, u32 count, u8* buffer, bool) override {
    CheckInside({first, count});
    Check(count <= kMaxWalkRead);
    std::memset(buffer, 0, u64{count} * kSectorBytes);
    return first % 2 == 0;
  }
};

WalkEvents CheckedEvents(bool withUsed) {
  WalkEvents events;
  events.opened = [](const std::string& kind, const std::string&) {
    Check(kind.find('\0') == std::string::npos);
  };
  const auto checkPath = [](const std::string& path) {
    Check(path.starts_with('/') && path.find('\0') == std::string::npos);
  };
  events.file = [checkPath](const FoundFile& file) {
    checkPath(file.path);
    for (const SectorRange& area : file.areas) CheckInside(area);
    file.lacking.Visit(CheckInside);
  };
  events.damaged = [checkPath](const DamagedPart& part) {
    if (!part.path.empty()) checkPath(part.path);
    part.lacking.Visit(CheckInside);
  };
  if (withUsed) events.used = CheckInside;
  return events;
}

}  // namespace
}  // namespace larkspur

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  using namespace larkspur;
  for (const bool withUsed : {false, true}) {
    fakes::SaidLine line({reinterpret_cast<const char*>(bytes), count});
    HalfStorage storage;
    ServeWalk(line, &storage, kVolume.first, kVolume.count, CheckedEvents(withUsed));
  }
  return 0;
}
