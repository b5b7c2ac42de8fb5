// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "fakes/disk_builder.h"
#include "partitions/formats.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;

constexpr char kBasic[] = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";

DiskBuilder DiskWithGpt() {
  return DiskBuilder(4096).Gpt(1, 1, 128);
}

TEST(Gpt, MakesAChildOfEveryUsedEntryOneSectorShort) {
  EXPECT_EQ(DiskWithGpt()
                .GptEntry(1, 0, kBasic, 40, 139)
                .GptEntry(1, 2, "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F", 200, 299)
                .GptEntry(1, 127, "00112233-4455-6677-8899-AABBCCDDEEFF", 400, 499)
                .Tree(),
            "0+4096 32764 \"[unknown]\" gpt\n"
            "  40+99 24451 \"GPT Basic\"\n"
            "  200+99 130 \"Linux swap\"\n"
            "  400+99 32767 \"[unknown]\"\n");
}

TEST(Gpt, NamesTypesByTheFirstRowOfTheirGuid) {
  const struct {
    const char* guid;
    const char* type;
  } kCases[] = {
      {"C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "239 \"EFI OEM\""},
      {"024DEE41-33E7-11D3-9D69-0008C781F39F", "255 \"MasterBootRecord\""},
      {"E6D6D379-F507-44C2-A23C-238F2A3DF928", "142 \"Linux LVM\""},
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(DiskWithGpt().GptEntry(1, 0, test.guid, 40, 139).Tree(),
              std::string("0+4096 32764 \"[unknown]\" gpt\n  40+99 ") + test.type + "\n");
  }
}

struct PlaceCase {
  u64 header;
  u64 ownLba;
  u32 factor;
  const char* child;
};

// Everything counts from the header: entry LBA 10 is nine or ten logical sectors after it.
TEST(Gpt, IsFoundAtFourPlaces) {
  constexpr PlaceCase kCases[] = {{0, 1, 1, "9+5"},
                                  {1, 1, 1, "10+5"},
                                  {7, 1, 8, "79+40"},
                                  {8, 1, 8, "80+40"},
                                  {8, 0, 8, "88+40"}};
  for (const PlaceCase& test : kCases) {
    DiskBuilder disk(4096);
    disk.Gpt(test.header, test.ownLba, 4, test.factor);
    disk.GptEntry(test.header, 0, kBasic, 10, 15, test.factor);
    EXPECT_EQ(disk.Tree(), std::string("0+4096 32764 \"[unknown]\" gpt\n  ") + test.child +
                               " 24451 \"GPT Basic\"\n");
  }
}

TEST(Gpt, IsFoundInTheProtectivePartition) {
  EXPECT_EQ(DiskWithGpt().MbrEntry(0, 0, 0xEE, 1, 4095).GptEntry(1, 0, kBasic, 40, 139).Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  1+4095 238 \"GPT OEM\" gpt\n"
            "    40+99 24451 \"GPT Basic\"\n");
}

TEST(Gpt, EndsOddTables) {
  const std::string blank = "0+4096 32764 \"[unknown]\"\n";
  const std::string gpt = "0+4096 32764 \"[unknown]\" gpt\n";
  const auto one = [](u64 first, u64 last) {
    return DiskWithGpt().GptEntry(1, 0, kBasic, first, last);
  };
  const struct {
    const char* what;
    DiskBuilder disk;
    std::string tree;
  } kCases[] = {
      {"another entry size", one(40, 139).Le(1, 84, 4, 256), blank},
      {"no entries", one(40, 139).Le(1, 80, 4, 0), gpt + "(false)\n"},
      {"an array outside the disk", one(40, 139).Le(1, 72, 8, 1 << 20), gpt + "(false)\n"},
      {"an array that wraps", one(40, 139).Le(1, 72, 8, ~u64{0}), gpt + "(false)\n"},
      {"2^32 entries", one(40, 139).Le(1, 80, 4, 0xFFFFFFFF),
       gpt + "  40+99 24451 \"GPT Basic\"\n"},
      {"a partition of one sector", one(40, 40), gpt + "  40+0 24451 \"GPT Basic\"\n"},
      {"an end before the start", one(40, 38),
       gpt + "  40+18446744073709551614 24451 \"GPT Basic\"\n"},
      {"a partition past the end", one(4000, 9000), gpt + "  4000+5000 24451 \"GPT Basic\"\n"},
      {"sums that wrap", one(2, ~u64{0}), gpt + "  2+18446744073709551613 24451 \"GPT Basic\"\n"},
      {"the table itself", one(1, 100),
       gpt + "  1+99 24451 \"GPT Basic\" gpt\n"
             "    1+99 24451 \"GPT Basic\"\n"},
      {"the disk from its start", one(0, 100), gpt + "  0+100 24451 \"GPT Basic\"\n"},
  };
  for (const auto& test : kCases) EXPECT_EQ(test.disk.Tree(), test.tree) << test.what;
}

}  // namespace
}  // namespace larkspur
