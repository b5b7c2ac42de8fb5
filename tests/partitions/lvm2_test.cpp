// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/lvm2_disk.h"
#include "partitions/formats.h"
#include "partitions/lvm2_text.h"

namespace larkspur {
namespace {

using fakes::Lvm2Area;
using fakes::Lvm2Disk;
using fakes::Lvm2Group;
using fakes::Lvm2Linear;
using fakes::Lvm2Volume;

constexpr char kRoot[] = "0+4096 32764 \"[unknown]\" lvm\n";

Lvm2Disk DiskOf(const std::string& text) {
  return Lvm2Disk().Label().Area({.text = text});
}

// What lies below the root.
std::string Children(const Lvm2Disk& disk) {
  const std::string tree = disk.Tree();
  EXPECT_TRUE(tree.starts_with(kRoot)) << tree;
  return tree.substr(std::min(tree.size(), sizeof kRoot - 1));
}

// A child line; the volume's identifier is 32 times the first letter of its name.
std::string Child(const std::string& place, const std::string& volume, const std::string& raid) {
  std::string set;
  for (int i = 0; i < 32; ++i) set += volume[0] == 'r' ? "72" : volume[0] == 'l' ? "6c" : "73";
  return "  " + place + " 131 \"Linux native (unclassified)\" {raid \"vg/" + volume + "\" " + raid +
         " set " + set + "}\n";
}

std::string Linear(const std::string& place, const std::string& volume = "l") {
  return Child(place, volume, "layout 1 columns 1 index 0 block 512 level linear");
}

TEST(Lvm2, SaysWhatEachSegmentHasOnTheDisk) {
  const struct {
    const char* segments;
    std::string children;
  } kCases[] = {
      {"segment1 { extent_count = 4 type = \"striped\" stripe_count = 1 stripes = [\"pv0\", 2] }",
       Linear("528+32")},
      {"segment1 { extent_count = 4 stripe_count = 1 stripes = [\"pv0\", 2] }", Linear("528+32")},
      {"segment1 { extent_count = 4 type = \"striped+FLAG\" stripes = [\"pv0\", 2] }",
       Linear("528+32")},
      {"segment1 { extent_count = 4 type = \"striped\" stripes = [\"pv1\", 2] }", ""},
      {"segment1 { extent_count = 4 stripes = [\"pv0\", 0] }"
       "segment2 { extent_count = 1 stripes = [\"pv1\", 0] }"
       "segment3 { extent_count = 2 stripes = [\"pv0\", 9] }",
       Child("512+32", "l", "layout 1 columns 3 index 0 block 512 level linear") +
           Child("584+16", "l", "layout 1 columns 3 index 2 block 512 level linear")},
      {"segment1 { extent_count = 6 type = \"striped\" stripe_count = 3 stripe_size = 128 "
       "stripes = [\"pv1\", 0, \"pv0\", 2, \"pv2\", 0] }",
       Child("528+16", "l", "layout 2 columns 3 index 1 block 65536 level striped")},
      {"segment1 { extent_count = 6 type = \"mirror\" mirrors = [\"pv1\", 0, \"pv0\", 2] }",
       Child("528+48", "l", "layout 3 columns 2 index 1 block 512 level mirror")},
      {"segment1 { extent_count = 6 type = \"raid5_ls\" stripe_size = 8 "
       "raids = [\"pv1\", 0, \"pv0\", 2, \"pv2\", 0] }",
       Child("528+24", "l", "layout 6 columns 3 index 1 block 4096 level raid5_ls")},
      {"segment1 { extent_count = 4 type = \"raid6_zr\" "
       "raids = [\"pv1\", 0, \"pv0\", 2, \"pv2\", 0, \"pv3\", 0] }",
       Child("528+16", "l", "layout 0 columns 4 index 1 block 512 level raid6_zr")},
      {"segment1 { extent_count = 4 type = \"raid10\" data_copies = 2 "
       "raids = [\"pv1\", 0, \"pv0\", 2, \"pv2\", 0, \"pv3\", 0] }",
       Child("528+16", "l", "layout 0 columns 4 index 1 block 512 level raid10")},
      {"segment1 { extent_count = 4 type = \"error\" }", ""},
      {"segment1 { extent_count = 4 type = \"thin\" thin_pool = \"pool\" }", ""},
      {"", ""},
  };
  for (const auto& test : kCases) {
    const std::string text = Lvm2Group(Lvm2Volume("l", test.segments));
    EXPECT_EQ(Children(DiskOf(text)), test.children) << test.segments;
  }
}

TEST(Lvm2, AnImageIsAMemberOfTheVolumeThatItBelongsTo) {
  const std::string raid = Lvm2Volume(
      "r",
      "segment1 { extent_count = 8 type = \"raid5_ls\" stripe_size = 128 "
      "raids = [\"r_rmeta_0\", \"r_rimage_0\", \"r_rmeta_1\", \"r_rimage_1\", \"r_rmeta_2\", "
      "\"r_rimage_2\"] }");
  const std::string images = Lvm2Volume("r_rimage_1", Lvm2Linear(1, 4)) +
                             Lvm2Volume("r_rmeta_1", Lvm2Linear(0, 1)) +
                             Lvm2Volume("r_rimage_2",
                                        "segment1 { extent_count = 2 stripes = "
                                        "[\"pv0\", 5] } segment2 { extent_count = 2 "
                                        "stripes = [\"pv1\", 0] }");
  EXPECT_EQ(Children(DiskOf(Lvm2Group(raid + images))),
            Child("520+32", "r", "layout 6 columns 3 index 1 block 65536 level raid5_ls") +
                Linear("512+8", "r_rmeta_1") +
                Child("552+16", "r_rimage_2", "layout 1 columns 2 index 0 block 512 level linear"));
}

TEST(Lvm2, LooksIntoItsPieces) {
  Lvm2Disk disk = DiskOf(Lvm2Group(Lvm2Volume("l", Lvm2Linear(1, 100))));
  u8* sector = disk.At(520 * kSectorBytes);
  sector[450] = 0x83;
  StoreLe32(sector + 454, 16);
  StoreLe32(sector + 458, 32);
  StoreLe16(sector + 510, 0xAA55);
  EXPECT_NE(disk.Tree().find("mbr\n    536+32 131"), std::string::npos) << disk.Tree();
}

TEST(Lvm2, FindsTheLabelInAnyOfFourSectors) {
  const std::string text = Lvm2Group(Lvm2Volume("l", Lvm2Linear(0, 1)));
  for (u32 sector = 0; sector < 4; ++sector) {
    EXPECT_EQ(Children(Lvm2Disk().Label(sector).Area({.text = text})), Linear("512+8"));
  }
  EXPECT_EQ(Lvm2Disk().Label(4).Area({.text = text}).Tree().find("lvm"), std::string::npos);
  // A label that was copied to the wrong place does no harm.
  Lvm2Disk disk = Lvm2Disk().Label(2).Area({.text = text});
  std::copy_n(disk.At(2 * kSectorBytes), 32, disk.At(0));
  EXPECT_EQ(Children(disk), Linear("512+8"));
  // Of two that stand where they belong the first counts.
  disk = Lvm2Disk().Label(3).Label(1).Area({.text = text});
  EXPECT_EQ(Children(disk), Linear("512+8"));
  // A damaged one is better than none.
  disk = DiskOf(text);
  *disk.At(kSectorBytes + 300) = 1;
  EXPECT_EQ(Children(disk), Linear("512+8"));
}

TEST(Lvm2, ChoosesTheNewestIntactText) {
  constexpr u64 kInId = 16;  // of the group, which is not read
  const auto area = [](u64 position, u64 sequence, u64 firstExtent) {
    const std::string volume = Lvm2Volume("l", Lvm2Linear(firstExtent, 1));
    return Lvm2Area{.position = position, .text = Lvm2Group(volume, {.sequence = sequence})};
  };
  const struct {
    const char* what;
    u64 sequences[2];
    std::vector<u64> damaged;  // bytes
    const char* place;
  } kCases[] = {
      {"the first", {5, 4}, {}, "512+8"},
      {"the second", {4, 5}, {}, "520+8"},
      {"the older as the newer is damaged", {5, 4}, {4096 + 512 + kInId}, "520+8"},
      {"the older as the newer's header is damaged", {5, 4}, {4096 + 500}, "520+8"},
      {"the newest damaged one", {4, 5}, {4096 + 512 + kInId, 65536 + 512 + kInId}, "520+8"},
      {"the readable one", {5, 4}, {4096 + 512 + kInId, 4096 + 5}, "520+8"},
  };
  for (const auto& test : kCases) {
    Lvm2Disk disk = Lvm2Disk().Label().Area(area(4096, test.sequences[0], 0));
    disk.Area(area(65536, test.sequences[1], 1));
    for (const u64 byte : test.damaged) *disk.At(byte) ^= 0x20;
    EXPECT_EQ(Children(disk), Linear(test.place)) << test.what;
  }
}

TEST(Lvm2, ReadsTextsAroundTheEndOfTheRing) {
  const std::string text = Lvm2Group(Lvm2Volume("l", Lvm2Linear(0, 1)));
  for (const u64 position : {512u, 1024u, 5000u, 32768u - 512u, 32768u - 1u}) {
    EXPECT_EQ(Children(Lvm2Disk().Label().Area({.textPosition = position, .text = text})),
              Linear("512+8"))
        << position;
  }
}

TEST(Lvm2, WithoutATextThereAreNoChildren) {
  EXPECT_EQ(Lvm2Disk().Label().Tree(), kRoot);
  EXPECT_EQ(Lvm2Disk().Label().Area({}).Tree(), kRoot);
  EXPECT_EQ(Lvm2Disk().Label().Area({.text = Lvm2Group(""), .flags = 1}).Tree(), kRoot);
  EXPECT_EQ(DiskOf(Lvm2Group("")).Tree(), kRoot);
}

TEST(Lvm2, AnswersFalseToWhatItCannotRead) {
  const std::string text = Lvm2Group(Lvm2Volume("l", Lvm2Linear(0, 1)));
  constexpr u64 kArea = 4096;
  constexpr u64 kLabelType = u64{0x324D564C} << 32;  // follows the header's place
  const struct {
    const char* what;
    u64 byte;
    u64 value;
  } kCases[] = {
      {"a header beyond the label", 512 + 20, kLabelType | (512 - 31)},
      {"a header far beyond it", 512 + 20, kLabelType | 0xFFFFFFFF},
      {"an area beyond the disk", 512 + 104, u64{1} << 40},
      {"an area at no sector", 512 + 104, 4097},
      {"an area at the end of all", 512 + 104, ~u64{0} - 511},
      {"no magic", kArea + 4, 0},
      {"an area of nothing", kArea + 32, 0},
      {"an area of its header", kArea + 32, 512},
      {"an area that wraps", kArea + 32, ~u64{0}},
      {"a text in the header", kArea + 40, 511},
      {"a text after the area", kArea + 40, 32768},
      {"a text of nothing", kArea + 48, 0},
      {"a text larger than the ring", kArea + 48, 32768 - 511},
      {"a text of gigabytes", kArea + 48, u64{1} << 32},
      {"a text that ends early", kArea + 512 + 100, 0},
      {"another physical volume's", 512 + 32, 0x3131313131313131},
  };
  for (const auto& test : kCases) {
    Lvm2Disk disk = DiskOf(text);
    StoreLe64(disk.At(test.byte), test.value);
    EXPECT_EQ(disk.Tree(), std::string(kRoot) + "(false)\n") << test.what;
  }
  EXPECT_EQ(DiskOf(Lvm2Group("", {.extentSectors = 0})).Tree(), std::string(kRoot) + "(false)\n");
  EXPECT_EQ(DiskOf("nothing = 1").Tree(), std::string(kRoot) + "(false)\n");
}

TEST(Lvm2, PassesOverPiecesThatCannotBe) {
  const char* const kSegments[] = {
      "segment1 { extent_count = 401 stripes = [\"pv0\", 0] }",
      "segment1 { extent_count = 1 stripes = [\"pv0\", 400] }",
      "segment1 { extent_count = 18446744073709551615 stripes = [\"pv0\", 2] }",
      "segment1 { extent_count = 1 stripes = [\"pv0\", 18446744073709551615] }",
      "segment1 { extent_count = 0 stripes = [\"pv0\", 0] }",
      "segment1 { extent_count = -1 stripes = [\"pv0\", 0] }",
      "segment1 { extent_count = 2 type = \"raid6\" raids = [\"pv0\", 0, \"pv1\", 0] }",
      ("segment1 { extent_count = 2 type = \"raid10\" data_copies = 9223372036854775809 "
       "raids = [\"pv0\", 0, \"pv1\", 0] }"),
      "segment1 { extent_count = 2 stripes = [1, 2, 3] }",
  };
  for (const char* segments : kSegments) {
    EXPECT_EQ(Children(DiskOf(Lvm2Group(Lvm2Volume("l", segments)))), "") << segments;
  }
  const std::string volume = Lvm2Volume("l", Lvm2Linear(2, 1));
  for (const u64 extentSectors : {u64{1} << 63, u64{4096}}) {  // past all sectors, past the disk
    const std::string text = Lvm2Group(volume, {.extentSectors = extentSectors});
    EXPECT_EQ(Children(DiskOf(text)), "") << extentSectors;
  }
}

TEST(Lvm2, TakesNamesAndCountsAsTheyCome) {
  const std::string counted = Lvm2Volume("l", "segment_count = 2147483648 " + Lvm2Linear(0, 1));
  EXPECT_EQ(Children(DiskOf(Lvm2Group(counted))), Linear("512+8")) << "the segments count";
  const std::string volumes =
      Lvm2Volume("s", "segment1 { extent_count = 4 stripes = [\"pv1\", 0, \"pv0\", 0] }") +
      Lvm2Volume("pv0", Lvm2Linear(9, 1));
  EXPECT_NE(Children(DiskOf(Lvm2Group(volumes))).find("\"vg/pv0\" layout 1"), std::string::npos);
  const std::string name(20000, 'l');
  EXPECT_LT(Children(DiskOf(Lvm2Group(Lvm2Volume(name, Lvm2Linear(0, 1))))).size(), 400u);
}

TEST(Lvm2, VolumesThatAreMadeOfEachOtherEnd) {
  const auto of = [](const char* name) {
    return std::string("segment1 { extent_count = 2 type = \"raid1\" raids = [\"") + name +
           "\", \"pv0\", 0] }";
  };
  const std::string volumes = Lvm2Volume("l", of("s")) + Lvm2Volume("s", of("l"));
  EXPECT_EQ(Children(DiskOf(Lvm2Group(volumes))),
            Child("512+16", "l", "layout 3 columns 2 index 1 block 512 level raid1") +
                Child("512+16", "s", "layout 3 columns 2 index 1 block 512 level raid1"));
}

// Every piece is a physical volume of the same group again, by a label of its own that leads to the
// one text.
TEST(Lvm2, VolumesThatHoldTheirGroupAgainEnd) {
  constexpr u64 kArea = u64{3000} * kSectorBytes;
  std::string volumes;
  for (u64 i = 0; i < 250; ++i) volumes += Lvm2Volume("l" + std::to_string(i), Lvm2Linear(i, 100));
  Lvm2Disk disk;
  disk.Label().Area({.position = kArea, .size = 500000, .text = Lvm2Group(volumes)});
  size_t entry = 32;  // of the header's list, where the area's position stands
  while (LoadLe64(disk.At(kSectorBytes) + entry) != kArea) entry += 8;
  for (u64 start = 512; start < 512 + 250 * 8; start += 8) {
    u8* label = disk.At((start + 1) * kSectorBytes);
    std::copy_n(disk.At(kSectorBytes), kSectorBytes, label);
    StoreLe64(label + entry, kArea - start * kSectorBytes);
  }
  const std::string tree = disk.Tree();
  const auto pieces = std::count(tree.begin(), tree.end(), '{');
  EXPECT_GT(pieces, 250);
  EXPECT_LE(pieces, 8192);
}

// What the text says of "x" in its outermost section: "number 5", "text a", "list a b(2)" or
// "section"; "nothing", or "fault" for a text that breaks the rules.
std::string MeaningOfX(const std::string& text) {
  const Lvm2Text read(text);
  if (!read.IsValid()) return "fault";
  if (const auto number = read.Number(Lvm2Text::kRoot, "x")) {
    return "number " + std::to_string(*number);
  }
  if (const auto words = read.Text(Lvm2Text::kRoot, "x")) return "text " + *words;
  if (read.FindSection(Lvm2Text::kRoot, "x")) return "section";
  const auto list = read.List(Lvm2Text::kRoot, "x");
  if (list.empty()) return "nothing";
  std::string meaning = "list";
  for (const auto& scalar : list) {
    meaning += ' ' + std::string(scalar.text);
    if (scalar.number) meaning += '(' + std::to_string(*scalar.number) + ')';
  }
  return meaning;
}

TEST(Lvm2Text, FollowsTheGrammar) {
  const struct {
    const char* text;
    const char* meaning;
  } kCases[] = {
      {"", "nothing"},
      {"x = 5", "number 5"},
      {"x=5 y=6", "number 5"},
      {"x\t=\n+5", "number 5"},
      {"# x = 1\nx = 2 # x = 3", "number 2"},
      {"x = 18446744073709551615", "number 18446744073709551615"},
      {"x = 18446744073709551616", "list 18446744073709551616"},
      {"x = -1", "list -1"},
      {"x = 1.5", "list 1.5"},
      {"x = \"a b\"", "text a b"},
      {"x = \"a\\\"b\\\\c\"", "text a\"b\\c"},
      {"x = 'a\\'", "text a\\"},
      {"x = \"# { } =\"", "text # { } ="},
      {"x = word", "text word"},
      {"x = []", "nothing"},
      {"x = [1, \"a\" , b 2]", "list 1(1) a b 2(2)"},
      {"x = [1,]", "list 1(1)"},
      {"x { }", "section"},
      {"x{y{z=1}}", "section"},
      {"\"x\" = 5", "number 5"},
      {"x = 1 x = 2", "number 2"},
      {"y = 1", "nothing"},
      {"x = \"\"", "text "},
      {"1x = 1 x = 2", "number 2"},
  };
  for (const auto& test : kCases) EXPECT_EQ(MeaningOfX(test.text), test.meaning) << test.text;
  EXPECT_EQ(MeaningOfX(std::string("x = 5\0}}}", 9)), "number 5");
}

TEST(Lvm2Text, RefusesWhatDoesNot) {
  const char* const kTexts[] = {
      "x",        "x =",     "= 5",       "x = \"a",  "x = 'a",    "x = \"a\\\"", "x {",
      "x { y {}", "}",       "x { } }",   "x = [",    "x = [1",    "x = [1, {",   "x = }",
      "x = {",    "{ }",     "x = [[1]]", "\"\" = 1", "x = 1 = 2", "x = ]",       "x [1]",
      "x = ,",    "x y = 1", "x = \"a\\", "\"x",      "x = [\"a]", "# x\n=",      "x = #",
  };
  for (const char* text : kTexts) EXPECT_EQ(MeaningOfX(text), "fault") << text;
}

TEST(Lvm2Text, ARepeatedSectionGoesOnWithTheFirst) {
  const Lvm2Text text("a { x = 1 y = 1 } b { x = 3 } a { y = 2 }");
  ASSERT_TRUE(text.IsValid());
  const auto sections = text.Sections(Lvm2Text::kRoot);
  ASSERT_EQ(sections.size(), 2u);
  EXPECT_EQ(sections[1].name, "b");
  EXPECT_EQ(text.Number(sections[0].section, "x"), 1u);
  EXPECT_EQ(text.Number(sections[0].section, "y"), 2u);
}

std::string Nested(u32 depth) {
  std::string text;
  for (u32 i = 0; i < depth; ++i) text += "a {";
  return text + std::string(depth, '}');
}

TEST(Lvm2Text, HasLimits) {
  EXPECT_TRUE(Lvm2Text(Nested(Lvm2Text::kMaxNesting)).IsValid());
  EXPECT_FALSE(Lvm2Text(Nested(Lvm2Text::kMaxNesting + 1)).IsValid());
  EXPECT_FALSE(Lvm2Text(Nested(1 << 20)).IsValid());
  const auto list = [](u32 items) {
    std::string text = "x = [";
    for (u32 i = 0; i < items; ++i) text += "1,";
    return text + ']';
  };
  EXPECT_TRUE(Lvm2Text(list(Lvm2Text::kMaxItems - 2)).IsValid());
  EXPECT_FALSE(Lvm2Text(list(Lvm2Text::kMaxItems - 1)).IsValid());
}

}  // namespace
}  // namespace larkspur
