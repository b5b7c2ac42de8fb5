// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/walk.h"

#include <cstring>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/said_line.h"
#include "files/walker.h"

namespace larkspur {
namespace {

class EmptyStorage final : public WalkedStorage {
 public:
  bool Read(u64 first, u32 count, u8*, bool) override {
    EXPECT_GE(first, 100u);
    EXPECT_LE(first + count, 200u);
    return false;
  }
};

template <typename Body>
std::string Bytes(const Body& body) {
  return {reinterpret_cast<const char*>(&body), sizeof body};
}

std::string Message(WalkMessage kind, const std::string& body) {
  return Bytes(WalkHead{kind, static_cast<u32>(body.size())}) + body;
}

// What was told of a volume on [100, 200), as text.
std::string Told(const std::string& said) {
  fakes::SaidLine line(said);
  EmptyStorage storage;
  std::string told;
  const auto add = [&told](const SectorRange& range) {
    told += fmt::format(" {}+{}", range.first, range.count);
  };
  WalkEvents events;
  events.opened = [&](const std::string& kind, const std::string& label) {
    told += kind + ":" + label;
  };
  events.file = [&](const FoundFile& file) {
    told += fmt::format(" {} {}{}", file.path, file.size, file.known ? "" : "?");
    for (const SectorRange& area : file.areas) add(area);
    file.lacking.Visit(add);
  };
  events.damaged = [&](const DamagedPart& part) { told += " !" + part.path; };
  events.used = add;
  const WalkEnd end = ServeWalk(line, &storage, 100, 100, events);
  return told + (end == WalkEnd::kDone ? "" : end == WalkEnd::kFailed ? " failed" : " none");
}

TEST(Walk, BelievesNothingThatCannotBe) {
  using enum WalkMessage;
  const std::string opened = Message(kOpened, std::string("ext4\0name", 9));
  const std::string end = Message(kEnd, "");
  const auto area = [](u64 first, u64 count) { return Bytes(SectorRange{first, count}); };
  const std::string file = Message(kFile, Bytes(WalkFileHead{7, 0, 1}) + "/a");
  const std::string lost = Message(kFile, Bytes(WalkFileHead{7, 0, 0}) + "/a");
  const auto read = [](u64 first, u32 count, WalkCare care) {
    return Message(kRead, Bytes(WalkRead{first, count, care}));
  };
  const struct {
    std::string said;
    std::string told;
  } cases[] = {
      {end, " none"},
      {opened + file + end, "ext4:name /a 7"},
      {opened + Message(kAreas, area(3, 4) + area(99, 1)) + file + file + end,
       "ext4:name /a 7 103+4 199+1 /a 7"},
      {opened + read(0, 8, WalkCare::kNext) + lost + read(8, 1, WalkCare::kFileSystem) + end,
       "ext4:name /a 7? 100+8 !"},
      {opened + read(0, 8, WalkCare::kNone) + file + end, "ext4:name /a 7"},
      {opened + Message(kUsed, area(0, 100)) + end, "ext4:name 100+100"},
      {opened + read(5, 1, WalkCare::kNext) + Message(kFolder, "/f") + end, "ext4:name !/f"},
      // Outside the volume, too much at once, cut off, in the wrong order, nonsense.
      {opened + Message(kAreas, area(99, 2)) + end, "ext4:name failed"},
      {opened + Message(kUsed, area(~u64{0}, 2)) + end, "ext4:name failed"},
      {opened + Message(kAreas, area(0, 1).substr(1)) + end, "ext4:name failed"},
      {read(100, 1, WalkCare::kNext) + end, " failed"},
      {read(0, kMaxWalkRead + 1, WalkCare::kNext) + end, " failed"},
      {Message(kRead, "") + end, " failed"},
      {opened + opened + end, "ext4:name failed"},
      {file + end, " failed"},
      {Message(kOpened, "ext4") + end, " failed"},
      {opened + Message(kFile, Bytes(WalkFileHead{})) + end, "ext4:name failed"},
      {opened + Message(kFile, Bytes(WalkFileHead{}) + "a") + end, "ext4:name failed"},
      {opened + Message(kFile, Bytes(WalkFileHead{}) + std::string("/\0", 2)) + end,
       "ext4:name failed"},
      {opened + read(5, 1, WalkCare::kNext) + Message(kFolder, "f") + end, "ext4:name failed"},
      {Bytes(WalkHead{kEnd, kMaxWalkMessage + 1}), " failed"},
      {Message(static_cast<WalkMessage>(99), "") + end, " failed"},
      {"", " failed"},
  };
  for (const auto& c : cases) EXPECT_EQ(Told(c.said), c.told);
  // Cut anywhere, and with any one byte changed, it ends.
  const std::string whole = cases[2].said + cases[3].said;
  for (size_t at = 0; at < whole.size(); ++at) {
    Told(whole.substr(0, at));
    std::string changed = whole;
    changed[at] = static_cast<char>(fakes::RandomSource().Below(256));
    Told(changed);
  }
}

}  // namespace
}  // namespace larkspur
