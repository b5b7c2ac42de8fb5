// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The labels of Unix systems and of Apple's disks: tables in a fixed sector.

#include <gtest/gtest.h>

#include "fakes/disk_builder.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;

constexpr u32 kBsdMagic = 0x82564557;

struct Slice {
  u64 size;
  u64 offset;
  u8 type;
};

DiskBuilder& PutBsdLabel(DiskBuilder& disk, u64 sector, const std::vector<Slice>& slices) {
  disk.Le(sector, 0, 4, kBsdMagic).Le(sector, 132, 4, kBsdMagic).Le(sector, 40, 4, 512);
  disk.Le(sector, 138, 2, slices.size());
  for (size_t i = 0; i < slices.size(); ++i) {
    const size_t at = 148 + i * 16;
    disk.Le(sector, at, 4, slices[i].size).Le(sector, at + 4, 4, slices[i].offset);
    disk.Le(sector, at + 12, 1, slices[i].type);
  }
  return disk;
}

TEST(BsdLabel, MakesAChildOfEveryEntryWithASize) {
  for (const u64 sector : {1u, 0u}) {
    DiskBuilder disk(4096);
    PutBsdLabel(disk, sector,
                {{100, 16, 7}, {50, 200, 1}, {4096, 0, 0}, {0, 300, 7}, {9, 400, 17}});
    EXPECT_EQ(disk.Tree(),
              "0+4096 32764 \"[unknown]\" bsd\n"
              "  16+100 263 \"UFS (FFS)\"\n"
              "  200+50 257 \"Unix SWAP\"\n"
              "  0+4096 256 \"[unknown]\"\n"
              "  400+9 273 \"[unknown]\"\n");
  }
}

TEST(BsdLabel, CountsFromTheDiskOrFromTheSlice) {
  const struct {
    const char* what;
    std::vector<Slice> slices;
    const char* child;
  } kCases[] = {
      {"only from the disk they lie inside", {{100, 1016, 7}, {0, 0, 0}, {2000, 1000, 0}}, "1016"},
      {"only from the slice they lie inside", {{100, 16, 7}, {0, 0, 0}, {2000, 0, 0}}, "1016"},
      {"both, and the whole entry starts with the slice",
       {{100, 1000, 7}, {0, 0, 0}, {2000, 1000, 0}},
       "1000"},
      {"both, and the whole entry starts at 0", {{100, 1000, 7}, {0, 0, 0}, {2000, 0, 0}}, "2000"},
      {"both, and the whole entry is the disk", {{100, 1000, 7}, {0, 0, 0}, {4096, 0, 0}}, "1000"},
      {"neither", {{5000, 16, 7}}, "1016"},
      {"neither, for an entry of the disk beside that of the slice",
       {{100, 1064, 7}, {0, 0, 0}, {2000, 1000, 0}, {4096, 0, 0}},
       "1064"},
      {"neither, for a foreign partition beside the whole disk",
       {{100, 1064, 7}, {0, 0, 0}, {4096, 0, 0}, {50, 63, 8}},
       "1064"},
  };
  for (const auto& test : kCases) {
    DiskBuilder disk(4096);
    disk.MbrEntry(0, 0, 0xA5, 1000, 2000);
    const std::string tree = PutBsdLabel(disk, 1001, test.slices).Tree();
    EXPECT_NE(tree.find("1000+2000 165 \"386BSD Slice\" bsd\n    " + std::string(test.child) + "+"),
              std::string::npos)
        << test.what << "\n"
        << tree;
  }
}

TEST(BsdLabel, UnderstandsLargerSectorsAndOpenBsdsWideFields) {
  DiskBuilder large(65536);
  PutBsdLabel(large, 1, {{100, 16, 7}}).Le(1, 40, 4, 4096);
  EXPECT_NE(large.Tree().find("128+800 263"), std::string::npos);
  const auto wide = [](u8 slice) {
    DiskBuilder disk(4096);
    disk.MbrEntry(0, 0, slice, 1000, 2000);
    PutBsdLabel(disk, 1001, {{100, 1016, 7}}).Le(1001, 114, 2, 1).Le(1001, 148 + 10, 2, 1);
    return disk.Tree();
  };
  EXPECT_NE(wide(0xA6).find("1016+4294967396"), std::string::npos);
  EXPECT_NE(wide(0xA5).find("1016+100 "), std::string::npos);
  DiskBuilder disk(4096);
  disk.MbrEntry(0, 0, 0xA6, 1000, 2000);
  PutBsdLabel(disk, 1001, {{100, 1016, 7}, {2000, 1000, 0}, {50, 16, 7}}).Le(1001, 114, 2, 1);
  EXPECT_NE(disk.Le(1001, 148 + 32 + 8, 2, 1).Tree().find("4294967312+50 "), std::string::npos)
      << disk.Tree();
}

// Its node is a sector shorter than the slice.
TEST(BsdLabel, InAGuidTableCountsByTheSlicesTrueLength) {
  DiskBuilder disk(8192);
  disk.Gpt(1, 1, 4).GptEntry(1, 0, "516E7CB4-6ECF-11D6-8FF8-00022D09712B", 2048, 6047);
  PutBsdLabel(disk, 2049, {{1000, 16, 7}, {0, 0, 0}, {4000, 0, 0}});
  EXPECT_NE(disk.Tree().find("2064+1000 263"), std::string::npos) << disk.Tree();
}

TEST(BsdLabel, ALabelThatContainsItselfEnds) {
  DiskBuilder disk(4096);
  PutBsdLabel(disk, 1, {{4096, 0, 7}, {4095, 0, 7}, {100, 1, 7}});
  EXPECT_EQ(disk.Tree(),
            "0+4096 32764 \"[unknown]\" bsd\n"
            "  0+4096 263 \"UFS (FFS)\"\n"
            "  0+4095 263 \"UFS (FFS)\"\n"
            "  1+100 263 \"UFS (FFS)\" bsd\n"
            "    0+4096 263 \"UFS (FFS)\"\n"
            "    0+4095 263 \"UFS (FFS)\"\n"
            "    1+100 263 \"UFS (FFS)\"\n");
}

TEST(Snap, ReadsEntriesThatTheChecksumConfirms) {
  DiskBuilder disk(4096);
  disk.Le(0, 0, 4, kBsdMagic).Le(0, 244, 4, kBsdMagic).Le(0, 250, 2, 2);
  disk.Le(0, 260, 4, 100).Le(0, 264, 4, 200).Le(0, 272, 1, 7);
  disk.Le(0, 276, 4, 300).Le(0, 280, 4, 400).Le(0, 288, 1, 1);
  EXPECT_EQ(disk.Tree(), "0+4096 32764 \"[unknown]\" snap\n");
  disk.XorSum(0, 248, 260 + 2 * 16);
  EXPECT_EQ(disk.Tree(),
            "0+4096 32764 \"[unknown]\" snap\n"
            "  200+100 24579 \"SnapOS UFS\"\n"
            "  400+300 24580 \"SnapOS Slice\"\n");
  EXPECT_EQ(disk.Le(0, 280, 4, 3797).XorSum(0, 248, 260 + 2 * 16).Tree(),
            "0+4096 32764 \"[unknown]\" snap\n")
      << "of which one ends past the disk";
}

DiskBuilder X86Table() {
  DiskBuilder disk(4096);
  disk.MbrEntry(0, 0, 0xBF, 100, 3000);
  disk.Le(101, 12, 4, 0x600DDEEE).Le(101, 30, 2, 16).Le(101, 508, 2, 0xDABE);
  disk.Le(101, 72, 2, 2).Le(101, 76, 4, 50).Le(101, 80, 4, 60);             // slice 0, root
  disk.Le(101, 96, 2, 5).Le(101, 100, 4, 0).Le(101, 104, 4, 3000);          // slice 2, everything
  return disk.Le(101, 252, 2, 3).Le(101, 256, 4, 200).Le(101, 260, 4, 70);  // slice 15, swap
}

TEST(Solaris, ReadsTheTableOfX86) {
  EXPECT_EQ(X86Table().Tree(),
            "0+4096 32764 \"[unknown]\" mbr\n"
            "  100+3000 191 \"Solaris\" sol\n"
            "    150+60 263 \"UFS (FFS)\"\n"
            "    100+3000 191 \"Solaris\"\n"
            "    300+70 257 \"Unix SWAP\"\n");
  EXPECT_EQ(X86Table().Le(101, 30, 2, 8).Tree().find("300+70"), std::string::npos);
  EXPECT_EQ(X86Table().Le(101, 12, 4, 1).Tree().find("150+60"), std::string::npos);
}

TEST(Solaris, ReadsTheLabelOfSparc) {
  DiskBuilder disk(4096);
  disk.Be(0, 140, 2, 8).Be(0, 188, 4, 0x600DDEEE).Be(0, 436, 2, 2).Be(0, 438, 2, 5);
  disk.Be(0, 142, 2, 2).Be(0, 444, 4, 3).Be(0, 448, 4, 400);
  disk.Be(0, 146, 2, 0x82).Be(0, 452, 4, 60).Be(0, 456, 4, 500);
  disk.Be(0, 508, 2, 0xDABE);
  EXPECT_EQ(disk.Tree(), "0+4096 32764 \"[unknown]\" sol\n(false)\n");  // no checksum
  EXPECT_EQ(disk.XorSum(0, 510, 512).Tree(),
            "0+4096 32764 \"[unknown]\" sol\n"
            "  30+400 263 \"UFS (FFS)\"\n"
            "  600+500 130 \"Linux swap\"\n");
  EXPECT_EQ(disk.Be(0, 438, 2, 0).XorSum(0, 510, 512).Tree(), "0+4096 32764 \"[unknown]\"\n");
}

DiskBuilder DivisionTable(u64 wholeBlocks) {
  DiskBuilder disk(8192);
  disk.MbrEntry(0, 0, 0x63, 63, 8000);
  disk.Le(105, 0, 2, 0x1234).Le(105, 62, 4, wholeBlocks);
  disk.Le(105, 2, 4, 0).Le(105, 6, 4, 1000);  // division 0
  return disk.Le(105, 10, 4, 0xFFFFFFFF).Le(105, 14, 4, 0).Le(105, 18, 4, 1000).Le(105, 22, 4, 500);
}

TEST(XUnix, DivisionsCountFromWhatTheWholeAreaLeaves) {
  const std::string head = "0+8192 32764 \"[unknown]\" mbr\n  63+8000 99 \"[unknown]\"";
  EXPECT_EQ(DivisionTable(3900).Tree(), head +
                                            " xunix\n"
                                            "    263+2000 32767 \"[unknown]\"\n"
                                            "    2263+1000 32767 \"[unknown]\"\n");
  EXPECT_EQ(DivisionTable(0).Tree(), head +
                                         " xunix\n"
                                         "    63+2000 32767 \"[unknown]\"\n"
                                         "    2063+1000 32767 \"[unknown]\"\n");
  EXPECT_EQ(DivisionTable(4001).Tree(), head + "\n");  // larger than the partition
  EXPECT_EQ(DivisionTable(3900).Le(105, 58, 4, 1).Tree(), head + "\n");
}

DiskBuilder AppleMap(u32 blockBytes) {
  const u64 block = blockBytes / 512;
  DiskBuilder disk(65536);
  disk.Text(0, 0, "ER").Be(0, 2, 2, blockBytes);
  disk.Text(block, 0, "PM").Be(block, 4, 4, 3).Be(block, 8, 4, 1).Be(block, 12, 4, 63);
  disk.Text(block, 16, "Apple").Text(block, 48, "Apple_partition_map");
  disk.Text(2 * block, 0, "PM").Be(2 * block, 8, 4, 64).Be(2 * block, 12, 4, 1000);
  disk.Text(2 * block, 16, "0123456789abcdef0123456789abcdef");  // without a terminator
  disk.Text(2 * block, 48, "Apple_hfs");
  disk.Text(3 * block, 0, "TS").Be(3 * block, 8, 4, 2000).Be(3 * block, 12, 4, 10);
  return disk.Text(3 * block, 16, "Extra  ").Text(3 * block, 48, "Apple_Free");
}

TEST(AppleMap, NamesItsPartitions) {
  EXPECT_EQ(AppleMap(512).Tree(),
            "0+65536 32764 \"[unknown]\" apple\n"
            "  1+63 288 \"Apple (Apple_partition_map)\"\n"
            "  64+1000 292 \"0123456789abcdef0123456789abcdef (Apple_hfs)\"\n"
            "  2000+10 295 \"Extra (Apple_Free)\"\n");
  EXPECT_NE(AppleMap(2048).Tree().find("  256+4000 292 "), std::string::npos);
}

TEST(AppleMap, EndsOddMaps) {
  const std::string blank = "0+65536 32764 \"[unknown]\"\n";
  for (const u32 blockBytes : {0u, 1u, 511u}) {
    EXPECT_EQ(AppleMap(512).Be(0, 2, 2, blockBytes).Tree(), blank) << blockBytes;
  }
  const std::string endless = AppleMap(512).Be(1, 4, 4, 0xFFFFFFFF).Tree();
  EXPECT_EQ(std::count(endless.begin(), endless.end(), '\n'), 4);
}

}  // namespace
}  // namespace larkspur
