// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include <gtest/gtest.h>

#include "fakes/disk_builder.h"
#include "fakes/tree_text.h"
#include "partitions/detection.h"
#include "partitions/formats.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;

DiskBuilder Disk() {
  return DiskBuilder(4096);
}

TEST(Mbr, MakesAChildOfEveryUsedEntry) {
  EXPECT_EQ(Disk()
                .MbrEntry(0, 0, 0x83, 100, 50)
                .MbrEntry(0, 1, 0x07, 200, 60)
                .MbrEntry(0, 3, 0x55, 300, 70)
                .Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  100+50 131 \"Linux native (unclassified)\"\n"
            "  200+60 7 \"NTFS\"\n"
            "  300+70 85 \"[unknown]\"\n");
}

struct ProbeCase {
  const char* what;
  size_t offset;
  size_t width;
  u64 value;
  bool matches;
};

TEST(Mbr, AcceptsATableOnlyWhenItsEntriesMakeSense) {
  constexpr ProbeCase kCases[] = {
      {"as it is", 0, 1, 0, true},
      {"the other signature", 510, 2, 0xBB55, true},
      {"no signature", 510, 2, 0xAA54, false},
      {"an active entry", 446, 1, 0x80, true},
      {"another status", 446, 1, 0x01, false},
      {"an empty entry with a stray type", 446 + 16 + 4, 1, 1, false},
      {"an empty entry with a stray start", 446 + 32 + 8, 4, 1, false},
      {"an empty entry with a stray status", 446 + 48, 1, 0x80, false},
  };
  for (const ProbeCase& test : kCases) {
    DiskBuilder disk = Disk().MbrEntry(0, 0, 0x83, 100, 50);
    disk.Le(0, test.offset, test.width, test.value);
    const bool matches = disk.Tree().find("mbr") != std::string::npos;
    EXPECT_EQ(matches, test.matches) << test.what;
  }
}

TEST(Mbr, TakesABootSectorForAFileSystemAndNotForATable) {
  struct {
    size_t offset;
    const char* text;
    u16 type;
  } const kCases[] = {
      {82, "TFAT32", 11}, {82, "FAT32", 11}, {54, "FAT12", 1}, {54, "FAT16", 4}, {3, "NTFS    ", 7},
  };
  for (const auto& test : kCases) {
    DiskBuilder disk = Disk().MbrEntry(0, 0, 0x83, 100, 50).Text(0, test.offset, test.text);
    const std::string name(GetTypeName(test.type).begin(), GetTypeName(test.type).end());
    EXPECT_EQ(disk.Tree(), "0+4096 " + std::to_string(test.type) + " \"" + name + "\" mbr\n");
  }
}

TEST(Mbr, LooksIntoEveryPartition) {
  EXPECT_EQ(Disk()
                .MbrEntry(0, 0, 0x0C, 64, 1000)
                .Mbr(64)
                .Text(64, 82, "FAT32")
                .MbrEntry(0, 1, 0x83, 2000, 1000)
                .MbrEntry(2000, 0, 0x82, 10, 20)
                .Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  64+1000 11 \"FAT32\" mbr\n"
            "  2000+1000 131 \"Linux native (unclassified)\" mbr\n"
            "    2010+20 130 \"Linux swap\"\n");
}

TEST(Mbr, WalksTheChainOfAContainer) {
  EXPECT_EQ(Disk()
                .MbrEntry(0, 1, 0x05, 1000, 3000)
                .MbrEntry(1000, 0, 0x07, 63, 100)
                .MbrEntry(1000, 1, 0x05, 500, 600)
                .MbrEntry(1500, 0, 0x83, 63, 200)
                .MbrEntry(1500, 1, 0x05, 1500, 600)
                .MbrEntry(2500, 0, 0x82, 0, 300)
                .Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  1000+3000 5 \"Extended\"\n"
            "    1063+100 7 \"NTFS\" {offset 63}\n"
            "    1563+200 131 \"Linux native (unclassified)\" {offset 63}\n"
            "    2500+300 130 \"Linux swap\" mbr\n"
            "      2500+300 130 \"Linux swap\"\n");
}

TEST(Mbr, EndsOddChains) {
  const auto container = [] { return Disk().MbrEntry(0, 0, 0x0F, 1000, 3000); };
  const std::string head =
      "0+4096 32764 \"[unknown]\" mbr\n"
      "  1000+3000 15 \"Extended LBA\"\n";
  const std::string drive = "    1063+100 7 \"NTFS\" {offset 63}\n";
  const auto drives = [&] { return container().MbrEntry(1000, 0, 0x07, 63, 100); };
  const struct {
    const char* what;
    DiskBuilder disk;
    std::string tree;
  } kCases[] = {
      {"no record", container(), head + "(false)\n"},
      {"the other signature", drives().Le(1000, 510, 2, 0xBB55), head + "(false)\n"},
      {"a link to itself", drives().MbrEntry(1000, 1, 0x05, 0, 100), head + drive},
      {"a link to nothing", drives().MbrEntry(1000, 1, 0x05, 500, 100), head + drive + "(false)\n"},
      {"a link past the end", drives().MbrEntry(1000, 1, 0x05, 0xFFFFFFFF, 1),
       head + drive + "(false)\n"},
      {"a drive of no length", drives().MbrEntry(1000, 0, 0x07, 63, 0),
       head + "    1063+0 7 \"NTFS\" {offset 63}\n"},
      {"a record without a drive", container().Mbr(1000), head + "    1000+0 0 \"Empty\" mbr\n"},
      {"a container of no length",
       Disk().MbrEntry(0, 0, 0x0F, 1000, 1).Le(0, 446 + 12, 4, 0).Le(0, 446, 8, 0).Le(0, 454, 8, 0),
       "0+4096 32764 \"[unknown]\" mbr\n"},
  };
  for (const auto& test : kCases) EXPECT_EQ(test.disk.Tree(), test.tree) << test.what;
}

TEST(Mbr, AChainMayCountFromThePartitionThatHoldsItsTable) {
  // The disk is an image of a disk that lies 500 sectors into this one.
  EXPECT_EQ(Disk()
                .MbrEntry(0, 0, 0x83, 500, 3000)
                .MbrEntry(500, 0, 0x05, 1000, 1500)
                .MbrEntry(1500, 0, 0x07, 10, 20)
                .MbrEntry(1500, 1, 0x05, 100, 50)
                .MbrEntry(1100, 0, 0x07, 30, 40)
                .Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  500+3000 131 \"Linux native (unclassified)\" mbr\n"
            "    1500+1500 5 \"Extended\"\n"
            "      1510+20 7 \"NTFS\" {offset 10}\n"
            "      1130+40 7 \"NTFS\" {offset 30}\n");
}

TEST(Mbr, ATableInALogicalDriveCountsFromTheLegacyOffset) {
  // The inner table's container was written relative to a drive that began 63 sectors earlier.
  EXPECT_EQ(Disk()
                .MbrEntry(0, 0, 0x05, 1000, 3000)
                .MbrEntry(1000, 0, 0x83, 63, 2000)
                .MbrEntry(1063, 0, 0x05, 563, 100)
                .MbrEntry(500, 0, 0x07, 5, 6)
                .Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  1000+3000 5 \"Extended\"\n"
            "    1063+2000 131 \"Linux native (unclassified)\" {offset 63} mbr\n"
            "      1626+100 5 \"Extended\"\n"
            "        505+6 7 \"NTFS\" {offset 5}\n");
}

// Thousands of records, each linking to the next, cost no more than the limit. Their drives lie
// past the end of the disk.
TEST(Mbr, ALongChainEnds) {
  DiskBuilder disk(4096);
  disk.MbrEntry(0, 0, 0x05, 16, 4000);
  for (u64 sector = 16; sector < 4000; ++sector) {
    disk.MbrEntry(sector, 0, 0x83, 5000, 10).MbrEntry(sector, 1, 0x05, sector + 1 - 16, 1);
  }
  const std::string tree = disk.Tree();
  EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), 2 + 1024);
}

TEST(TypeNames, AreThoseOfTheTable) {
  const struct {
    u16 type;
    const char16_t* name;
  } kCases[] = {
      {0, u"Empty"},         {2, u"[unknown]"},           {255, u"MasterBootRecord"},
      {263, u"UFS (FFS)"},   {322, u"[unknown]"},         {25089, u"Novell Volume Descriptor"},
      {32764, u"[unknown]"}, {32765, u"Kestrel Virtual"}, {65535, u"[unknown]"}};
  for (const auto& test : kCases) EXPECT_EQ(GetTypeName(test.type), test.name) << test.type;
  for (u32 type = 0; type <= 0xFFFF; ++type) {
    const bool container = type == 5 || type == 15 || type == 133 || type == 288 || type == 32766;
    EXPECT_EQ(IsContainerType(static_cast<u16>(type)), container) << type;
  }
}

}  // namespace
}  // namespace larkspur
