// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

#include <algorithm>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "base/path_text.h"
#include "fakes/ldm_disk.h"
#include "fakes/tree_text.h"
#include "partitions/detection.h"
#include "partitions/ldm_database.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

using fakes::LdmBody;
using fakes::LdmDisk;
using fakes::MemoryStore;

constexpr char kRoot[] = "0+8192 32764 \"[unknown]\" ntldm\n";

std::string Tree(const std::shared_ptr<MemoryStore>& store) {
  return fakes::TreeText(fakes::DiskOn(store).get());
}

// What lies below the root.
std::string Children(const LdmDisk& disk) {
  const std::string tree = Tree(disk.Store());
  EXPECT_TRUE(tree.starts_with(kRoot)) << tree;
  return tree.substr(std::min(tree.size(), sizeof kRoot - 1));
}

// The identifier of the volume that was the disk's first.
constexpr char kFirstSet[] = "64646464646464646464646464646464";

TEST(Ldm, SaysHowEachKindOfVolumeUsesTheDisk) {
  const struct {
    LdmDisk disk;
    const char* raid;
    const char* level;
  } kCases[] = {
      {LdmDisk().Simple("V", "E:", {1, 10, 500}), "(Mirror)\" layout 3 columns 1 index 0 block 512",
       "simple"},
      {LdmDisk().Spanned("V", "E:", {{2, 0, 100}, {1, 10, 500}}),
       "(Simple/Span)\" layout 1 columns 2 index 1 block 512", "spanned"},
      {LdmDisk().Mirrored("V", "E:", {{2, 0, 500}, {1, 10, 500}}),
       "(Mirror)\" layout 3 columns 1 index 0 block 512", "mirrored"},
      {LdmDisk().Striped("V", "E:", {{1, 10, 500}, {2, 0, 500}}),
       "(Stripe)\" layout 2 columns 2 index 0 block 65536", "striped"},
      {LdmDisk().Raid5("V", "E:", {{2, 0, 500}, {3, 0, 500}, {1, 10, 500}}),
       "(RAID5)\" layout 6 columns 3 index 2 block 65536", "RAID5"},
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(Children(test.disk),
              "  73+500 7 \"NTFS\" {raid \"Dynamic volume E: " + std::string(test.raid) +
                  " level " + test.level + " set " + kFirstSet + "}\n");
  }
}

TEST(Ldm, FindsDisksHoweverTheirRecordsAreWritten) {
  const auto volume = [](LdmDisk disk) { return disk.Simple("V", "", {1, 0, 64}); };
  const std::string usual = Children(volume(LdmDisk()));
  EXPECT_NE(usual, "");
  EXPECT_EQ(Children(volume(LdmDisk().LongDiskNames())), usual);
  EXPECT_EQ(Children(volume(LdmDisk().RawDiskIdentifiers())), usual);
}

TEST(Ldm, PutsTheVolumesOfAGptDiskUnderItsMetadata) {
  LdmDisk disk;
  disk.OnGpt().Simple("V", "", {1, 8, 64});
  EXPECT_EQ(Tree(disk.Store()),
            "0+8192 32764 \"[unknown]\" mbr\n"
            "  1+8191 238 \"GPT OEM\" gpt\n"
            "    34+2047 322 \"[unknown]\" ntldm\n"
            "      2090+64 7 \"NTFS\" {raid \"\" layout 3 columns 1 index 0 block 512 level simple "
            "set 64646464646464646464646464646464}\n"
            "    2082+6076 66 \"NT LDM link\" ntldm\n");
}

// The header's place, from the start of the metadata partition.
TEST(Ldm, TakesEitherCopyOfTheHeaderOfAGptDisk) {
  auto store = LdmDisk().OnGpt().Simple("V", "", {1, 8, 64}).Store();
  const std::string tree = Tree(store);
  const auto at = [&](u64 sector) {
    return store->bytes.begin() + i64{kSectorBytes} * i64(sector);
  };
  std::swap_ranges(at(34 + 1856), at(34 + 1857), at(34 + 2047));
  EXPECT_EQ(Tree(store), tree);
}

// The tree below a node of that type and length at the front of the disk.
std::string NodeTree(const LdmDisk& disk, u16 type, u64 length) {
  const auto io = fakes::DiskOn(disk.Store());
  PartitionTree tree;
  auto* node = new cPartTreeItem;
  AppendToTree(tree.Head(), node);
  SetNode(*node, io.get(), 0, length, type);
  const bool understood = DetectPartitionContents(node, true);
  return fakes::TreeText(node) + (understood ? "" : "(false)\n");
}

TEST(Ldm, IsAlsoFoundBehindAMasterBootRecordAndByType) {
  const LdmDisk disk = LdmDisk().Simple("V", "", {1, 0, 64});
  const std::string child =
      "  63+64 7 \"NTFS\" {raid \"\" layout 3 columns 1 index 0 block 512 level simple set "
      "64646464646464646464646464646464}\n";
  EXPECT_EQ(NodeTree(disk, 7, 8192), "0+8192 7 \"NTFS\" ntldm\n" + child);
  EXPECT_EQ(NodeTree(disk, 7, 8191),
            "0+8191 7 \"NTFS\" mbr\n  63+6081 66 \"NT LDM link\" ntldm\n  " + child);
  for (const u16 type : {u16{66}, u16{322}}) {
    EXPECT_NE(NodeTree(disk, type, 100).find("ntldm\n" + child), std::string::npos);
  }
}

TEST(Ldm, NamesVolumesAfterTheFirstFourBytesOfTheirHint) {
  const struct {
    const char* hint;
    u32 layout;
    const char* name;
  } kCases[] = {
      {"", 1, ""},
      {"E:", 0, "Dynamic volume E: (Simple/Span)"},
      {"E:", 1, "Dynamic volume E: (Simple/Span)"},
      {"C:\\Mount", 2, "Dynamic volume C:\\M (Stripe)"},
      {"\u00E9\u00E9\u00E9", 3, "Dynamic volume \u00E9\u00E9 (Mirror)"},
      {"abc\u00E9", 6, "Dynamic volume abc\uFFFD (RAID5)"},
  };
  for (const auto& test : kCases) {
    const Owned<cSoftRAIDMember> record(new cSoftRAIDMember);
    record->m_layout = test.layout;
    LdmVolume volume{};
    volume.hint = test.hint;
    FormatVolumeName(volume, *record);
    EXPECT_EQ(Utf8FromWide(record->m_name.View()), test.name);
  }
}

// A partition of disk 1 whose component says what the cases say.
LdmDisk DiskWithComponent(u8 type, u64 partitions, u64 volume, u64 columns) {
  LdmBody component;
  component.Number(7).Text("C").Text("ACTIVE").Fixed(type, 1).Zeros(4).Number(partitions);
  component.Zeros(16).Number(volume).Zeros(1).Number(128).Number(columns);
  LdmBody partition;
  partition.Number(8).Text("P").Zeros(12).Fixed(0, 8).Fixed(0, 8).Number(64).Number(7).Number(1);
  return LdmDisk()
      .Simple("V", "E:", {2, 0, 64})
      .Object(50, 0x10, component)
      .Object(51, 0, partition);
}

TEST(Ldm, MakesNoRecordWhereTheSetIsUnclear) {
  constexpr u64 kVolume = 100;
  const struct {
    const char* what;
    LdmDisk disk;
    bool hasType;
    bool hasRecord;
  } kCases[] = {
      {"a RAID", DiskWithComponent(3, 3, kVolume, 3), true, true},
      {"of one column", DiskWithComponent(3, 1, kVolume, 1), true, false},
      {"of as many columns as partitions", DiskWithComponent(3, 2, kVolume, 0), true, true},
      {"an unknown volume", DiskWithComponent(3, 3, 999, 3), false, false},
  };
  for (const auto& test : kCases) {
    const std::string children = Children(test.disk);
    const char* type = test.hasType ? "  63+64 7 \"NTFS\"" : "  63+64 32767 \"[unknown]\"";
    EXPECT_TRUE(children.starts_with(type)) << test.what << children;
    EXPECT_EQ(children.find("raid") != std::string::npos, test.hasRecord) << test.what << children;
  }
}

TEST(Ldm, GivesChildrenNoTypeThatLeadsBackOrToAnotherTable) {
  for (const u8 type : std::initializer_list<u8>{0, 5, 15, 66, 133}) {
    EXPECT_TRUE(Children(LdmDisk().PartitionType(type).Simple("V", "", {1, 0, 64}))
                    .starts_with("  63+64 32767"));
  }
}

struct Damage {
  const char* what;
  u64 sector;
  size_t offset;
  size_t width;
  u64 value;
};

std::shared_ptr<MemoryStore> Damaged(const LdmDisk& disk, const Damage& damage) {
  auto store = disk.Store();
  u8* at = &store->bytes[damage.sector * kSectorBytes + damage.offset];
  for (size_t i = 0; i < damage.width; ++i) {
    at[i] = static_cast<u8>(damage.value >> 8 * (damage.width - 1 - i));
  }
  return store;
}

TEST(Ldm, ADiskThatLaysItselfOutWronglyIsNone) {
  constexpr u64 kHeader = 6;
  const LdmDisk disk = LdmDisk().Simple("V", "", {1, 0, 64});
  const u64 toc = disk.ConfigStart() + 2;
  const Damage kCases[] = {
      {"another magic", kHeader, 7, 1, 'X'},
      {"a configuration beyond the disk", kHeader, 299, 8, 8193},
      {"one that ends beyond it", kHeader, 307, 8, 2049},
      {"one whose end wraps", kHeader, 307, 8, ~u64{0} - 6000},
      {"a logical disk in the configuration", kHeader, 283, 8, 6145},
      {"one that ends there", kHeader, 291, 8, 6082},
      {"no table of contents", toc, 0, 1, 'X'},
      {"another first region", toc, 41, 1, 'X'},
      {"another second region", toc, 70, 1, 'X'},
      {"a region beyond the configuration", toc, 46, 8, 2049},
      {"one that ends beyond it", toc, 54, 8, 2032},
      {"one whose end wraps", toc, 88, 8, ~u64{0} - 1000},
  };
  for (const Damage& test : kCases) {
    EXPECT_TRUE(Tree(Damaged(disk, test)).starts_with("0+8192 32764 \"[unknown]\" mbr\n"))
        << test.what;
  }
}

TEST(Ldm, ADatabaseThatCannotBeReadWholeGivesNothing) {
  const LdmDisk disk = LdmDisk().Simple("V", "", {1, 0, 64});
  const u64 database = disk.DatabaseStart();
  const Damage kCases[] = {
      {"records of 0 bytes", database, 8, 4, 0},
      {"of 1 byte", database, 8, 4, 1},
      {"that do not fill sectors", database, 8, 4, 511},
      {"larger than a sector", database, 8, 4, 4096},
      {"larger than anything", database, 8, 4, 0xFFFFFFFF},
      {"as many as there can be", database, 4, 4, 0xFFFFFFFF},
      {"more than there are", database, 4, 4, 4 + 8 + 1},
      {"a sector more than there are", database, 4, 4, 4 + 8 + 4},
      {"a record without its magic", database + 2, 128, 1, 'X'},
  };
  for (const Damage& test : kCases) {
    const bool ends = Tree(Damaged(disk, test)) == std::string(kRoot) + "(false)\n";
    EXPECT_EQ(ends, test.value != 4 + 8 + 1) << test.what << Tree(Damaged(disk, test));
  }
}

TEST(Ldm, PassesOverPartitionsThatEndNowhereOrLieOnOtherDisks) {
  constexpr u64 kLast = ~u64{0};
  for (const fakes::LdmPiece& piece : {fakes::LdmPiece{1, kLast - 10, 64},
                                       {1, kLast - 100, 64},
                                       {1, 0, 0},
                                       {1, 0, kLast},
                                       {2, 0, 64},
                                       {9, 0, 64}}) {
    EXPECT_EQ(Children(LdmDisk().Simple("V", "", piece)), "") << piece.start;
  }
}

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
