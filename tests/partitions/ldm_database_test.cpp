// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/ldm_database.h"

#include <gtest/gtest.h>

#include "fakes/ldm_disk.h"

namespace larkspur {
namespace {

using fakes::LdmBody;

constexpr u8 kVolume = 81;
constexpr size_t kRecordBytes = 64;

// Part `part` of `parts` of an object of group 9.
std::vector<u8> Part(const std::vector<u8>& object, u8 part, u8 parts) {
  std::vector<u8> record = {'V', 'B', 'L', 'K', 0, 0, 0, 0, 0, 0, 0, 9, 0, part, 0, parts};
  const size_t share = kRecordBytes - record.size();
  for (size_t i = part * share; i < (part + u32{1}) * share; ++i) {
    record.push_back(i < object.size() ? object[i] : u8{0});
  }
  return record;
}

std::vector<u8> VolumeObject(std::string_view hint, u8 flags = 2) {
  LdmBody object;
  object.Zeros(2).Fixed(flags, 1).Fixed(kVolume, 1).Zeros(4);
  object.Number(5).Text("Volume").Text("gen").Text("").Zeros(14 + 7).Number(2).Zeros(16);
  object.Number(1000).Zeros(4).Fixed(7, 1).Fixed(0xABCD, 16);
  if (flags & 0x08) object.Text("first");
  if (flags & 0x20) object.Text("second");
  if (flags & 0x80) object.Number(77);
  if (flags & 0x02) object.Text(hint);
  return object.bytes;
}

TEST(LdmDatabase, ReadsVolumesWithEveryOptionalField) {
  for (const u8 flags : std::initializer_list<u8>{0x02, 0x0A, 0x22, 0x82, 0xAA, 0xA8}) {
    LdmDatabase database;
    const auto object = VolumeObject("E:", flags);
    for (u8 part = 0; part < 3; ++part) EXPECT_TRUE(database.Add(Part(object, part, 3)));
    const LdmVolume* volume = database.FindVolume(5);
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->components, 2u);
    EXPECT_EQ(volume->partitionType, 7);
    EXPECT_EQ(volume->guid[15], 0xCD);
    EXPECT_EQ(volume->hint, flags & 2 ? "E:" : "");
  }
}

TEST(LdmDatabase, PutsTogetherWhatIsThereOnceEach) {
  const auto object = VolumeObject("E:");
  const struct {
    const char* what;
    std::vector<std::pair<u8, u8>> parts;  // number, and how many it says there are
    bool isWhole;
  } kCases[] = {
      {"in order", {{0, 3}, {1, 3}, {2, 3}}, true},
      {"in another", {{2, 3}, {0, 3}, {1, 3}}, true},
      {"one twice", {{0, 3}, {1, 3}, {1, 3}, {2, 3}}, true},
      {"one missing", {{0, 3}, {2, 3}}, false},
      {"one missing and another twice", {{0, 3}, {2, 3}, {2, 3}}, false},
      {"a part past the last", {{0, 3}, {1, 3}, {3, 3}}, false},
      {"parts that disagree", {{0, 3}, {1, 4}, {2, 4}}, false},
      {"too many parts", {{0, 9}, {1, 9}, {2, 9}}, false},
      {"an empty slot", {{0, 0}}, false},
      {"its front alone", {{0, 1}}, false},
  };
  for (const auto& test : kCases) {
    LdmDatabase database;
    for (const auto& [part, parts] : test.parts) {
      EXPECT_TRUE(database.Add(Part(object, part, parts))) << test.what;
    }
    EXPECT_EQ(database.FindVolume(5) != nullptr, test.isWhole) << test.what;
  }
}

// The body of a partition with the number 1.
LdmBody Partition(u64 component, u64 offset) {
  LdmBody object;
  object.Zeros(3).Fixed(51, 1).Zeros(4).Number(1).Text("").Zeros(12).Fixed(0, 8);
  return object.Fixed(offset, 8).Number(64).Number(component).Number(1);
}

TEST(LdmDatabase, OfTwoObjectsWithOneNumberTheFirstStays) {
  LdmDatabase database;
  database.Add(Part(Partition(7, 0).bytes, 0, 1));
  database.Add(Part(Partition(8, 0).bytes, 0, 1));
  ASSERT_EQ(database.Partitions().size(), 1u);
  EXPECT_EQ(database.Partitions().at(1).component, 7u);
}

TEST(LdmDatabase, ReadsNumbersOfOneToEightBytes) {
  const struct {
    std::vector<u8> number;
    u64 value;
  } kCases[] = {
      {{0}, 0},
      {{1, 5}, 5},
      {{2, 1, 0}, 256},
      {{8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}, ~u64{0} - 1},
      {{9, 1, 1, 1, 1, 1, 1, 1, 1, 1}, 0},
  };
  for (const auto& test : kCases) {
    LdmBody object;
    object.Zeros(3).Fixed(52, 1).Zeros(4);
    object.bytes.insert(object.bytes.end(), test.number.begin(), test.number.end());
    object.Text("").Text("01234567-89ab-cdef-0123-456789ABCDEF");
    LdmDatabase database;
    for (u8 part = 0; part < 2; ++part) database.Add(Part(object.bytes, part, 2));
    ASSERT_TRUE(database.FindDisk(test.value)) << test.number.size();
    EXPECT_EQ(database.FindDisk(test.value)->back(), 0xEF);
  }
}

TEST(LdmDatabase, PassesOverBodiesThatRunOut) {
  auto object = VolumeObject("E:");
  for (size_t at = 8; at < object.size(); ++at) {
    auto changed = object;
    changed[at] = 0xFF;  // a length of more than there is
    LdmDatabase database;
    for (u8 part = 0; part < 3; ++part) EXPECT_TRUE(database.Add(Part(changed, part, 3)));
  }
  LdmDatabase database;
  EXPECT_TRUE(database.Add(Part(object, 0, 1)));
  EXPECT_FALSE(database.FindVolume(5));
  EXPECT_FALSE(database.Add(std::vector<u8>(kRecordBytes)));
  EXPECT_FALSE(database.Add({}));
}

TEST(GuidText, IsThirtyTwoDigitsWithFourDashes) {
  const auto parse = [](std::string_view text) {
    return ParseGuidText({reinterpret_cast<const u8*>(text.data()), text.size()});
  };
  const auto guid = parse("01234567-89ab-cdef-0123-456789ABCDEF and more");
  ASSERT_TRUE(guid);
  EXPECT_EQ((*guid)[0], 0x01);
  EXPECT_EQ((*guid)[15], 0xEF);
  EXPECT_FALSE(parse("01234567-89ab-cdef-0123-456789ABCDE"));
  EXPECT_FALSE(parse("01234567-89ab-cdef-0123-456789ABCDEG"));
  EXPECT_FALSE(parse("01234567089ab-cdef-0123-456789ABCDEF"));
  EXPECT_FALSE(parse(""));
}

}  // namespace
}  // namespace larkspur
