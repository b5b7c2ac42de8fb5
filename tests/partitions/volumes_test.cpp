// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Members of RAID sets, encrypted volumes and the areas of volume managers.

#include <gtest/gtest.h>

#include "fakes/disk_builder.h"
#include "fakes/memory_disk.h"
#include "fakes/tree_text.h"
#include "io/failing_io.h"
#include "partitions/detection.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;

constexpr u32 kMdMagic = 0xA92B4EFC;

// A superblock of version 1.x in that sector.
DiskBuilder& PutSuper1(DiskBuilder& disk, u64 sector, u64 dataOffset, u64 dataSectors,
                       u32 level = 1) {
  disk.Le(sector, 0, 4, kMdMagic).Le(sector, 4, 4, 1).Text(sector, 16, "0123456789abcdef");
  disk.Text(sector, 32, "box:data").Le(sector, 72, 4, level).Le(sector, 88, 4, 128);
  disk.Le(sector, 92, 4, 3).Le(sector, 128, 8, dataOffset).Le(sector, 136, 8, dataSectors);
  disk.Le(sector, 144, 8, sector).Le(sector, 160, 4, 2).Le(sector, 220, 4, 4);
  return disk.Le(sector, 256, 2, 0).Le(sector, 258, 2, 1).Le(sector, 260, 2, 2);
}

std::string MdChild(const std::string& place, const std::string& level, int layout, int index) {
  return "  " + place + " 253 \"Linux RAID\" {raid \"box:data\" layout " + std::to_string(layout) +
         " columns 3 index " + std::to_string(index) + " block 65536 level " + level +
         " set 30313233343536373839616263646566}\n";
}

constexpr char kMdRoot[] = "0+4100 32764 \"[unknown]\" mdadm\n";

TEST(MdRaid, FindsTheSuperblocksOfVersion1) {
  const struct {
    u64 sector;
    u64 dataOffset;
    u64 dataSectors;
    const char* place;
  } kCases[] = {{8, 2048, 2000, "2048+2000"}, {0, 8, 2000, "8+2000"}, {4080, 0, 4080, "0+4080"}};
  for (const auto& test : kCases) {
    DiskBuilder disk(4100);
    PutSuper1(disk, test.sector, test.dataOffset, test.dataSectors);
    EXPECT_EQ(disk.Tree(), kMdRoot + MdChild(test.place, "raid1", 3, 2));
  }
}

TEST(MdRaid, NamesEveryLevel) {
  const struct {
    i32 level;
    const char* word;
    int layout;
  } kCases[] = {{-1, "linear", 1}, {0, "raid0", 2}, {4, "raid4", 0},
                {5, "raid5", 6},   {6, "raid6", 0}, {10, "raid10", 0}};
  for (const auto& test : kCases) {
    DiskBuilder disk(4100);
    PutSuper1(disk, 8, 2048, 2000, static_cast<u32>(test.level));
    EXPECT_EQ(disk.Tree(), kMdRoot + MdChild("2048+2000", test.word, test.layout, 2));
  }
}

TEST(MdRaid, RefusesSuperblocksThatContradictThemselves) {
  const struct {
    const char* what;
    size_t offset;
    size_t width;
    u64 value;
    bool matches;  // then the node keeps the parser, without a child
  } kCases[] = {
      {"another magic", 0, 4, 1, false},
      {"another major version", 4, 4, 2, true},
      {"of another sector", 144, 8, 16, true},
      {"more roles than fit", 220, 4, 2000, true},
      {"data over the superblock", 128, 8, 8, true},
  };
  for (const auto& test : kCases) {
    DiskBuilder disk(4100);
    PutSuper1(disk, 8, 2048, 2000).Le(8, test.offset, test.width, test.value);
    EXPECT_EQ(disk.Tree(),
              test.matches ? std::string(kMdRoot) + "(false)\n" : "0+4100 32764 \"[unknown]\"\n")
        << test.what;
  }
  DiskBuilder spare(4100);
  PutSuper1(spare, 8, 2048, 2000).Le(8, 160, 4, 0xFFFFFFFF);
  EXPECT_EQ(spare.Tree(), kMdRoot + MdChild("2048+2000", "raid1", 3, 0)) << "it has no place";
}

// A 0.90 superblock in either byte order; the member has 4100 sectors.
DiskBuilder Super0(bool big, u32 level, u32 sizeKiB) {
  DiskBuilder disk(4100);
  const auto put = [&](size_t word, u32 value) {
    big ? disk.Be(3968, word * 4, 4, value) : disk.Le(3968, word * 4, 4, value);
  };
  put(0, kMdMagic);
  put(2, 90);
  put(5, 0x37c76b91);
  put(13, 0x011a05c5);
  put(14, 0xd30c1fd4);
  put(15, 0xc5c3dbbc);
  put(7, level);
  put(8, sizeKiB);
  put(10, 2);
  put(65, 65536);
  put(995, 1);
  return disk;
}

TEST(MdRaid, FindsTheSuperblockOfVersion0InBothByteOrders) {
  const auto child = [](const char* place, const char* level, int layout) {
    return std::string(kMdRoot) + "  " + place + " 253 \"Linux RAID\" {raid \"\" layout " +
           std::to_string(layout) + " columns 2 index 1 block 65536 level " + level +
           " set 37c76b91011a05c5d30c1fd4c5c3dbbc}\n";
  };
  for (const bool big : {false, true}) {
    EXPECT_EQ(Super0(big, 1, 1900).Tree(), child("0+3800", "raid1", 3));
    EXPECT_EQ(Super0(big, 0, 0).Tree(), child("0+3968", "raid0", 2));
    EXPECT_EQ(Super0(big, 1, 2000).Tree(), std::string(kMdRoot) + "(false)\n");
  }
}

// Nodes of a GUID table are a sector short, and superblocks count from where the partition ends.
TEST(MdRaid, FindsTheEndOfAGuidPartition) {
  constexpr char kRaid[] = "A19D880F-05FC-4D3B-A006-743F0F84911E";
  const struct {
    u64 lastLba;  // of a partition that begins at 64
    u64 super;    // from there
  } kCases[] = {{64 + 4095, 4080}, {64 + 4087, 4072}, {64 + 4096, 4080}};
  for (const auto& test : kCases) {
    DiskBuilder disk(8192);
    disk.Gpt(1, 1, 4).GptEntry(1, 0, kRaid, 64, test.lastLba);
    PutSuper1(disk, 64 + test.super, 0, 4000).Le(64 + test.super, 144, 8, test.super);
    EXPECT_NE(disk.Tree().find("\n    64+4000 253 \"Linux RAID\" {raid \"box:data\""),
              std::string::npos)
        << test.lastLba << "\n"
        << disk.Tree();
  }
  DiskBuilder old(8192);
  old.Gpt(1, 1, 4).GptEntry(1, 0, kRaid, 64, 64 + 4095);
  const auto bytes = Super0(false, 1, 1900).Bytes();
  std::copy_n(&bytes[3968 * kSectorBytes], 8 * kSectorBytes,
              old.At(64 + 3968, 0, 8 * kSectorBytes));
  EXPECT_NE(old.Tree().find("\n    64+3800 253 \"Linux RAID\" {raid"), std::string::npos)
      << old.Tree();
}

TEST(MdRaid, LooksIntoAMirror) {
  DiskBuilder disk(4100);
  disk.MbrEntry(0, 0, 0xFD, 16, 4084);
  PutSuper1(disk, 24, 1000, 3000).Le(24, 144, 8, 8).Mbr(1016).Text(1016, 3, "NTFS    ");
  EXPECT_NE(
      disk.Tree().find("  16+4084 253 \"Linux RAID\" mdadm\n    1016+3000 7 \"NTFS\" mbr {raid"),
      std::string::npos)
      << disk.Tree();
}

DiskBuilder Luks1() {
  DiskBuilder disk(8192);
  disk.Text(0, 0, "LUKS\xBA\xBE").Be(0, 6, 2, 1).Text(0, 8, "aes").Text(0, 40, "xts-plain64");
  disk.Text(0, 72, "sha256").Be(0, 104, 4, 4096).Be(0, 108, 4, 64).Text(0, 168, "01234567-89ab");
  for (size_t i = 0; i < 8; ++i) disk.Be(0, 208 + i * 48, 4, 0x0000DEAD);
  return disk.Be(0, 208, 4, 0x00AC71F3).Be(0, 248, 4, 8);
}

TEST(Luks, RecordsItsHeader) {
  EXPECT_EQ(Luks1().Tree(),
            "0+8192 32764 \"[unknown]\" luks "
            "{luks1 payload 4096 aes-xts-plain64 sha256 key 64 uuid 01234567-89ab}\n");
  DiskBuilder second(65536);
  second.Text(0, 0, "LUKS\xBA\xBE").Be(0, 6, 2, 2).Be(0, 8, 8, 16384).Text(0, 168, "uuid-2");
  second.Text(8, 0,
              R"({"0":{"offset":"1","encryption":"no"},"all":[null,true,1,-1,0.5,{}],"segments":)"
              R"({"1":{"offset":"2"},"0":{"offset":"16777216","encryption":"aes-xts-plain64"}}})");
  EXPECT_EQ(second.Tree(),
            "0+65536 32764 \"[unknown]\" luks "
            "{luks2 payload 32768 aes-xts-plain64  key 0 uuid uuid-2}\n");
  EXPECT_EQ(second.Text(8, 0, "[[[[").Tree(),
            "0+65536 32764 \"[unknown]\" luks {luks2 payload 0 -  key 0 uuid uuid-2}\n");
}

// A header may have 4 MiB of text; what is not needed is not read.
TEST(Luks, ReadsNoMoreOfTheTextThanItNeeds) {
  const std::string segments =
      R"("segments":{"0":{"offset":"4194304","encryption":"aes-xts-plain64","deep":[[{}]]}})";
  const struct {
    std::string text;
    u32 mostSectors;
    bool isFound;
  } kCases[] = {
      {"{" + segments + "}" + std::string(1000000, 'x'), 200, true},
      {"{\"tokens\":\"" + std::string(200000, 'x') + "\"," + segments, 600, true},
      {"{\"other\":{" + segments + "}}", 200, false},
      {std::string(4000000, '['), 9000, false},
      {std::string(100, ']'), 200, false},
  };
  for (const auto& test : kCases) {
    DiskBuilder disk(16384);
    disk.Text(0, 0, "LUKS\xBA\xBE").Be(0, 6, 2, 2).Be(0, 8, 8, 4 << 20).Text(8, 0, test.text);
    const auto io = disk.Disk();
    PartitionTree tree;
    ScanTrace trace;
    EXPECT_TRUE(BuildPartitionTree(tree.Head(), io.get(), {.trace = &trace}));
    u32 sectors = 0;
    for (const ScanRequest& request : trace) sectors += request.count;
    EXPECT_LE(sectors, test.mostSectors) << test.text.substr(0, 40);
    const std::string text = fakes::TreeText(tree.Root());
    EXPECT_EQ(text.find("payload 8192 aes-xts-plain64") != text.npos, test.isFound) << text;
  }
}

TEST(Luks, RefusesHeadersOutOfBounds) {
  const struct {
    const char* what;
    size_t offset;
    u64 value;
  } kCases[] = {{"a payload past the end", 104, 8192},
                {"a key too long", 108, 65},
                {"a slot in no state", 256, 0},
                {"key material in the payload", 248, 4096}};
  for (const auto& test : kCases) {
    EXPECT_EQ(Luks1().Be(0, test.offset, 4, test.value).Tree(), "0+8192 32764 \"[unknown]\"\n")
        << test.what;
  }
}

// A NetWare partition at sector 100 whose redirection area has 50 sectors.
DiskBuilder NetWarePartition(u64 record) {
  DiskBuilder disk(8192);
  disk.MbrEntry(0, 0, 0x65, 100, 8000);
  const u64 hotFix = 100 + record;
  disk.Text(hotFix, 0, "HOTFIX00").Le(hotFix, 8, 4, 0xABC).Le(hotFix, 20, 4, 7000);
  disk.Le(hotFix, 24, 4, 50).Le(hotFix, 28, 4, 160);
  const u64 table = hotFix + 50;
  disk.Text(table, 0, "NetWare Volumes").Le(table, 16, 4, 3);
  disk.Le(table, 32, 1, 3).Text(table, 33, "SYS").Le(table, 52, 1, 3).Le(table, 53, 1, 1);
  disk.Le(table, 56, 4, 160).Le(table, 60, 4, 1000);
  disk.Le(table, 92, 1, 4).Text(table, 93, "VOL1").Le(table, 112, 1, 7).Le(table, 113, 1, 2);
  disk.Le(table, 114, 1, 1).Le(table, 116, 4, 2000).Le(table, 120, 4, 500);
  disk.Le(table, 152, 1, 4).Text(table, 153, "OUT!");
  return disk.Le(table, 176, 4, 6000).Le(table, 180, 4, 1001);  // past the data area
}

TEST(NetWare, MakesAChildOfEverySegment) {
  for (const u64 record : {32u, 64u, 96u, 128u}) {
    EXPECT_EQ(NetWarePartition(record).Tree(),
              "0+8192 32764 \"[unknown]\" mbr\n"
              "  100+8000 101 \"NetWare storage\" nw\n"
              "    310+1000 25088 \"SYS (Novell NWFS)\" "
              "{netware abc hotfix 50 data 7000 cluster 4096 segment 0 of 1}\n"
              "    2150+500 25088 \"VOL1 (Novell NWFS)\" "
              "{netware abc hotfix 50 data 7000 cluster 65536 segment 1 of 2} "
              "{raid \"VOL1\" layout 1 columns 2 index 1 block 512 level segments set }\n");
  }
  EXPECT_EQ(NetWarePartition(33).Tree().find("nw\n"), std::string::npos);
}

// A host finds all of these.
TEST(NetWare, PeopleWaitForItsCopiesWhereTheyMayLie) {
  const struct {
    u8 type;
    u64 record;
    u64 unreadable;
    bool isFound;
  } kCases[] = {
      {0x65, 128, 0, true}, {0x83, 32, 0, true}, {0x83, 64, 0, false}, {0x83, 64, 32, true}};
  for (const auto& test : kCases) {
    DiskBuilder disk = NetWarePartition(test.record);
    disk.MbrEntry(0, 0, test.type, 100, 8000);
    const u64 bad = test.unreadable == 0 ? 8191 : 100 + test.unreadable;
    const std::vector<SectorRange> readable = {{0, bad}, {bad + 1, 8191 - bad}};
    for (const bool forPeople : {false, true}) {
      cFailingIO io(disk.Disk(), std::make_shared<const std::vector<SectorRange>>(readable));
      PartitionTree tree;
      BuildPartitionTree(tree.Head(), &io, {.forPeople = forPeople});
      EXPECT_EQ(tree.Root()->FirstChild()->FirstChild() != nullptr, test.isFound || !forPeople)
          << test.record << " " << forPeople;
    }
  }
}

TEST(NetWareNss, IsKnownByItsTextAtEitherPlace) {
  for (const size_t offset : {0u, 1u}) {
    DiskBuilder disk(8192);
    disk.MbrEntry(0, 0, 0x69, 100, 8000).Text(100, offset, "Nw_PaRtItIoN");
    const std::string partition =
        "0+8192 32764 \"[unknown]\" mbr\n  100+8000 105 \"Novell Storage Services\" nwnss\n";
    EXPECT_EQ(disk.Tree(), partition);
    disk.Text(108, 0, "SPB5")
        .Le(108, 196, 8, 900)
        .Le(108, 204, 2, 'P')
        .Le(108, 206, 2, ' ')
        .Le(108, 208, 2, 0x1F);
    EXPECT_EQ(disk.Tree(), partition + "    100+7200 105 \"P \uFFFD (Novell Storage Services)\"\n");
    EXPECT_EQ(disk.Le(108, 196, 8, ~u64{0}).Tree(),
              partition + "    100+8000 105 \"P \uFFFD (Novell Storage Services)\"\n");
  }
}

// Partitions of 1 MiB from sector 4352 on.
DiskBuilder AixDisk(const std::vector<std::pair<u16, u16>>& partitions) {
  DiskBuilder disk(40960);
  disk.Be(0, 0, 4, 0xC9C2D4C1).Text(7, 0, "_LVM").Text(7, 4, "groupgroupgroup!");
  disk.Be(7, 24, 4, 2098).Be(7, 28, 4, 136).Be(7, 32, 4, 2240).Be(7, 46, 2, 20).Be(7, 60, 2, 1);
  disk.Be(137, 14, 2, 2).Be(137, 46, 2, 2);  // two partitions each
  disk.Be(153, 16, 2, partitions.size()).Be(153, 20, 4, 4352);
  for (size_t i = 0; i < partitions.size(); ++i) {
    disk.Be(153, 32 + i * 32, 2, partitions[i].first);
    disk.Be(153, 38 + i * 32, 2, partitions[i].second);
  }
  return disk.Text(136 + 2098 - 33, 0, "hd1").Text(136 + 2098 - 33, 64, "lv00");
}

TEST(AixLvm, MakesAChildOfEveryRun) {
  const auto run = [](const char* place, const char* name, int layout, int columns, int index,
                      const char* level) {
    return std::string("  ") + place + " 32767 \"[unknown]\" {raid \"" + name + "\" layout " +
           std::to_string(layout) + " columns " + std::to_string(columns) + " index " +
           std::to_string(index) + " block 512 level " + level +
           " set 67726f757067726f757067726f757021}\n";
  };
  const std::string root = "0+40960 32764 \"[unknown]\" aixlvm\n";
  EXPECT_EQ(AixDisk({{1, 1}, {1, 2}, {0, 0}, {2, 2}, {0, 0}, {2, 1}}).Tree(),
            root + run("4352+4096", "hd1", 1, 1, 0, "linear") +
                run("10496+2048", "lv00", 1, 2, 1, "linear") +
                run("14592+2048", "lv00", 1, 2, 0, "linear"));
  EXPECT_EQ(AixDisk({{1, 1}, {1, 2}, {1, 1}, {1, 2}}).Tree(),
            root + run("4352+4096", "hd1", 3, 2, 0, "mirrored") +
                run("8448+4096", "hd1", 3, 2, 1, "mirrored"));
}

TEST(AixLvm, KeepsToWhatItKnows) {
  const auto disk = [] { return AixDisk({{1, 1}}); };
  const std::string root = "0+40960 32764 \"[unknown]\"";
  EXPECT_EQ(disk().Be(7, 46, 2, 8).Tree(), root + "\n");
  EXPECT_NE(disk().Be(7, 46, 2, 9).Tree().find(" aixlvm\n  4352+1 "), std::string::npos);
  EXPECT_EQ(disk().Be(7, 46, 2, 63).Tree(), root + " aixlvm\n");
  EXPECT_EQ(disk().Be(7, 60, 2, 5).Tree(), root + " aixlvm\n");
  EXPECT_EQ(disk().Be(7, 24, 4, 40).Tree(), root + " aixlvm\n");
  EXPECT_EQ(disk().Be(153, 20, 4, 64).Tree(), root + " aixlvm\n");
  EXPECT_EQ(disk().Be(153, 16, 2, 2000).Tree(), root + " aixlvm\n");
}

// Two disks and one volume of level 0; this disk is the second, by its size.
DiskBuilder IntelMember(u32 sectors) {
  DiskBuilder disk(sectors);
  const u64 anchor = sectors - 2;
  disk.Text(anchor, 0, "Intel Raid ISM Cfg Sig. 1.1.00").Le(anchor, 36, 4, 480);
  disk.Le(anchor, 40, 4, 0x1111)
      .Le(anchor, 64, 4, 0x2222)
      .Le(anchor, 56, 1, 2)
      .Le(anchor, 57, 1, 1);
  disk.Text(anchor, 216, "SERIAL-A").Le(anchor, 232, 4, 9999);
  disk.Text(anchor, 264, "SERIAL-B").Le(anchor, 280, 4, sectors);
  const size_t volume = 312;
  disk.Text(anchor, volume, "Volume0").Le(anchor, volume + 40, 2, 1);
  const size_t map = volume + 112;
  disk.Le(anchor, map, 4, 64).Le(anchor, map + 4, 4, 3000).Le(anchor, map + 12, 2, 256);
  disk.Le(anchor, map + 15, 1, 0).Le(anchor, map + 16, 1, 2);
  return disk.Le(anchor, map + 48, 4, 0).Le(anchor, map + 52, 4, 0x01000001);
}

std::string IntelTree(const DiskBuilder& disk, std::u16string_view name) {
  const auto io = disk.Disk();
  io->SetName(name);
  return fakes::TreeText(io.get());
}

TEST(IntelMatrix, MakesAChildOfEveryVolume) {
  const auto tree = [](int index) {
    return "0+4096 32764 \"[unknown]\" intelmatrix\n"
           "  64+3000 32767 \"[unknown]\" {raid \"Volume0\" layout 2 columns 2 index " +
           std::to_string(index) + " block 131072 level raid0 set 22220000111100000100}\n";
  };
  EXPECT_EQ(IntelTree(IntelMember(4096), u"disk"), tree(1));
  EXPECT_EQ(IntelTree(IntelMember(4096), u" SERIAL-A "), tree(0));
  EXPECT_EQ(IntelTree(IntelMember(4096), u""), "0+4096 32764 \"[unknown]\"\n");
  for (const u32 total : {0u, 215u, 479u, 200000u, 0xFFFFFFFFu}) {
    DiskBuilder disk = IntelMember(4096);
    EXPECT_EQ(IntelTree(disk.Le(4094, 36, 4, total), u"disk").find("64+3000"), std::string::npos)
        << "metadata that runs out, " << total;
  }
}

TEST(IntelMatrix, HasAWordForEveryLevel) {
  const struct {
    u64 level, members;
    const char* words;
  } kCases[] = {
      {0, 2, "layout 2 columns 2 index 1 block 131072 level raid0 "},
      {1, 2, "layout 3 columns 2 index 1 block 131072 level raid1 "},
      {1, 4, "layout 0 columns 4 index 1 block 131072 level raid10 "},
      {10, 4, "layout 0 columns 4 index 1 block 131072 level raid10 "},
      {10, 2, "layout 3 columns 2 index 1 block 131072 level raid10 "},
      {5, 3, "layout 6 columns 3 index 1 block 131072 level raid5 "},
      {6, 4, "layout 0 columns 4 index 1 block 131072 set "},
  };
  for (const auto& c : kCases) {
    DiskBuilder disk = IntelMember(4096);
    disk.Le(4094, 312 + 112 + 15, 1, c.level).Le(4094, 312 + 112 + 16, 1, c.members);
    const std::string tree = IntelTree(disk.Le(4094, 36, 4, 500), u"disk");
    EXPECT_NE(tree.find(c.words), std::string::npos) << c.level << tree;
  }
}

TEST(IntelMatrix, StaysBesideWhatTheSectorsSay) {
  DiskBuilder disk = IntelMember(4096);
  disk.MbrEntry(0, 0, 0x83, 100, 50);
  const std::string tree = IntelTree(disk, u"disk");
  EXPECT_EQ(tree.substr(0, 31), "0+4096 32764 \"[unknown]\" mbr\n  ");
  EXPECT_NE(tree.find("  64+3000"), std::string::npos);
  EXPECT_NE(tree.find("  100+50"), std::string::npos);
}

TEST(IntelMatrix, ReadsMetadataOfSeveralSectors) {
  DiskBuilder disk = IntelMember(4096);
  // The volume moves to the sector before the anchor: 5 disks fill the anchor.
  const u64 anchor = 4094;
  disk.Le(anchor, 36, 4, 700).Le(anchor, 56, 1, 5);
  const size_t volume = 216 + 5 * 48;  // 456: it begins in the anchor and ends before it
  std::vector<u8> bytes(168);
  std::copy_n(disk.At(anchor, 312, 168), 168, bytes.begin());
  std::fill_n(disk.At(anchor, 312, 200), 200, u8{0});
  std::copy_n(bytes.begin(), 512 - volume, disk.At(anchor, volume, 512 - volume));
  std::copy(bytes.begin() + 512 - volume, bytes.end(), disk.At(anchor - 1, 0, bytes.size()));
  EXPECT_NE(IntelTree(disk, u"SERIAL-B").find("64+3000"), std::string::npos);
}

}  // namespace
}  // namespace larkspur
