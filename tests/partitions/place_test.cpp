// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/place.h"

#include <gtest/gtest.h>

#include "fakes/disk_builder.h"
#include "fakes/memory_disk.h"
#include "partitions/detection.h"

namespace larkspur {
namespace {

constexpr char kBasic[] = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";

TEST(Place, NamesANodeAndWhatItsTableGivesIt) {
  fakes::DiskBuilder disk(8192);
  disk.MbrEntry(0, 0, 0xEE, 1, 4095).MbrEntry(0, 1, 0x05, 5000, 3000);
  disk.MbrEntry(5000, 0, 0x83, 63, 100).MbrEntry(5000, 1, 0x05, 500, 600);
  disk.MbrEntry(5500, 0, 0x83, 63, 200);
  disk.Gpt(1, 1, 128).GptEntry(1, 0, kBasic, 40, 139).GptEntry(1, 1, kBasic, 200, 200);
  disk.GptEntry(1, 2, kBasic, 300, 299).GptEntry(1, 3, kBasic, 300, 298);  // end before they start
  const auto io = disk.Disk();
  PartitionTree tree;
  BuildPartitionTree(tree.Head(), io.get());
  const struct {
    const char* place;
    const char* covers;
  } kCases[] = {
      {"", "0+8192"},       {"1", "1+4095"},    {"1.1", "40+100"},
      {"1.2", "200+1"},     {"2", "5000+3000"}, {"2.1", "5063+100"},
      {"2.2", "5563+200"},  {"1.3", "nothing"}, {"1.4", "nothing"},
      {"3", "nothing"},     {"0", "nothing"},   {"1.", "nothing"},
      {"1.1.1", "nothing"}, {".1", "nothing"},  {"01", "nothing"},
      {"1 ", "nothing"},    {"-1", "nothing"},  {"+1", "nothing"},
      {"1..1", "nothing"},  {"x", "nothing"},   {"99999999999999999999", "nothing"},
  };
  for (const auto& test : kCases) {
    const auto found = FindPlace(*tree.Root(), test.place);
    EXPECT_EQ(
        found ? std::to_string(found->start) + "+" + std::to_string(found->sectors) : "nothing",
        test.covers)
        << test.place;
  }
  EXPECT_EQ(ChildPlace("", 2), "2");
  EXPECT_EQ(ChildPlace("1.2", 10), "1.2.10");
}

}  // namespace
}  // namespace larkspur
