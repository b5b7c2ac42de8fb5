// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

#include <fmt/core.h>
#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/disk_builder.h"
#include "fakes/tree_text.h"
#include "partitions/formats.h"
#include "partitions/property_list.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;

constexpr u64 kStart = 64;  // of the partition that is the member
constexpr u64 kLength = 1024;

struct Member {
  const char* level = "Stripe";
  u64 chunkCount = 4;
  u64 chunkBytes = 65536;
  u64 index = 1;
};

std::string Properties(const Member& member) {
  return fmt::format(
      "<dict ID=\"0\"><key>AppleRAID-LevelName</key><string ID=\"1\">{}</string>"
      "<key>AppleRAID-SetName</key><string ID=\"2\">Scratch &amp; more</string>"
      "<key>AppleRAID-ChunkSize</key><integer size=\"64\" ID=\"3\">{:#x}</integer>"
      "<key>AppleRAID-ChunkCount</key><integer size=\"64\" ID=\"4\">{:#x}</integer>"
      "<key>AppleRAID-MemberIndex</key><integer size=\"32\" ID=\"5\">{}</integer>"
      "<key>AppleRAID-Members</key><array ID=\"6\"><string ID=\"7\">A</string>"
      "<string ID=\"8\">B</string><reference IDREF=\"8\"/></array></dict>",
      member.level, member.chunkBytes, member.chunkCount, member.index);
}

DiskBuilder Disk(const std::string& properties, u64 length = kLength, u64 dataBytes = 0) {
  const u64 header = kStart + length / 8 * 8 - 8;
  DiskBuilder disk(kStart + length + 64);
  disk.Mbr(0).MbrEntry(0, 0, 0xAF, kStart, length);
  disk.Text(header, 0, "AppleRAIDHeader");
  disk.Text(header, 16, "01234567-89AB-CDEF-0123-456789ABCDEF");
  return disk.Be(header, 144, 8, dataBytes).Text(header, 152, properties);
}

// What lies below the partition.
std::string Contents(const DiskBuilder& disk) {
  const std::string tree = disk.Tree();
  const size_t at = tree.find(" appraid\n");
  return at == tree.npos ? tree : tree.substr(at + 9);
}

constexpr char kSet[] = "set 0123456789abcdef0123456789abcdef}\n";

TEST(AppleRaid, DescribesTheMemberOnItsDataArea) {
  const struct {
    Member member;
    const char* child;
  } kCases[] = {
      {{},
       "64+512 32767 \"[unknown]\" {raid \"Scratch & more\" layout 2 columns 3 index 1 block "
       "65536 level Stripe "},
      {{.level = "Mirror", .chunkCount = 3, .index = 0},
       "64+384 32767 \"[unknown]\" {raid \"Scratch & more\" layout 3 columns 3 index 0 block 65536 "
       "level Mirror "},
      {{.level = "Concat", .index = 2},
       "64+512 32767 \"[unknown]\" {raid \"Scratch & more\" layout 1 columns 3 index 2 block 65536 "
       "level Concat "},
      {{.level = "LVG", .index = 9999},
       "64+512 32767 \"[unknown]\" {raid \"Scratch & more\" layout 0 columns 3 index 9999 block "
       "65536 level LVG "},
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(Contents(Disk(Properties(test.member))), std::string("    ") + test.child + kSet);
  }
}

TEST(AppleRaid, FindsTheHeaderOfPartitionsOfAnyLengthAndTable) {
  for (u64 length = kLength; length < kLength + 9; ++length) {
    EXPECT_NE(Contents(Disk(Properties({}), length)).find("64+512 "), std::string::npos) << length;
  }
  DiskBuilder disk = Disk(Properties({}));
  disk.Le(0, 510, 2, 0).Gpt(1, 1, 4);  // no boot record
  disk.GptEntry(1, 0, "52414944-0000-11AA-AA11-00306543ECAC", kStart, kStart + kLength - 1);
  EXPECT_NE(Contents(disk).find("64+512 32767 "), std::string::npos) << disk.Tree();
}

TEST(AppleRaid, PlacesTheDataByItsChunksOrElseByTheHeader) {
  const struct {
    const char* what;
    Member member;
    u64 dataBytes;
    const char* place;
  } kCases[] = {
      {"all there is", {.chunkCount = 1016, .chunkBytes = 512}, 0, "64+1016 "},
      {"more than there is", {.chunkCount = 1017, .chunkBytes = 512}, 0, "(false)"},
      {"more, but the header knows", {.chunkCount = 1017, .chunkBytes = 512}, 512 * 7, "64+7 "},
      {"the header's other order", {.chunkCount = 0}, u64{14} << 48, "64+7 "},
      {"no chunks", {.chunkCount = 0}, 0, "(false)"},
      {"chunks of nothing", {.chunkBytes = 0}, 512 * 7, "64+7 "},
      {"no whole sectors", {.chunkCount = 1, .chunkBytes = 1000}, 0, "(false)"},
      {"a product that wraps", {.chunkCount = 1, .chunkBytes = ~u64{0} - 511}, 0, "(false)"},
      {"a product that wraps to little",
       {.chunkCount = u64{1} << 40, .chunkBytes = (u64{1} << 24) + 1},
       0,
       "(false)"},
  };
  for (const auto& test : kCases) {
    const std::string tree = Contents(Disk(Properties(test.member), kLength, test.dataBytes));
    const bool isUnderstood = std::string(test.place) != "(false)";
    EXPECT_EQ(tree.find(test.place) != tree.npos, isUnderstood) << test.what << tree;
    EXPECT_EQ(tree.empty(), !isUnderstood) << test.what;
  }
  EXPECT_EQ(Contents(Disk("<dict>", kLength, 512)), "") << "no properties";
  EXPECT_EQ(Contents(Disk(std::string(3944, '<'), kLength, 512)), "");
}

TEST(AppleRaid, LooksIntoItsDataArea) {
  DiskBuilder disk = Disk(Properties({}));
  disk.Gpt(kStart + 1, 1, 4);
  disk.GptEntry(kStart + 1, 0, "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F", 34, 51);
  const std::string contents = Contents(disk);
  EXPECT_TRUE(contents.ends_with(" gpt\n      98+17 130 \"Linux swap\"\n")) << contents;
}

TEST(AppleRaid, HeadersInHeadersEnd) {
  DiskBuilder disk = Disk(Properties({.chunkCount = 1016, .chunkBytes = 512}));
  for (u64 length = 1016; length > 16; length -= 8) {
    disk.Text(kStart + length - 8, 0, "AppleRAIDHeader");
    disk.Text(kStart + length - 8, 152, Properties({.chunkCount = length - 8, .chunkBytes = 512}));
  }
  EXPECT_LT(disk.Tree().size(), 20000u);
}

std::span<const u8> BytesOf(std::string_view text) {
  return {reinterpret_cast<const u8*>(text.data()), text.size()};
}

// What a dictionary of that inside says of "x".
std::string MeaningOfX(const std::string& inside) {
  const std::string text = "<dict ID=\"0\">" + inside + "</dict>";
  const PropertyList list(BytesOf(text));
  if (list.IsEmpty()) return "fault";
  if (const auto words = list.Text("x")) return "text " + *words;
  if (const auto number = list.Number("x")) return "number " + std::to_string(*number);
  const auto texts = list.Texts("x");
  if (!texts) return "nothing";
  std::string meaning = "array";
  for (const std::string& item : *texts) meaning += ' ' + item;
  return meaning;
}

TEST(PropertyList, ReadsValues) {
  const struct {
    const char* inside;
    const char* meaning;
  } kCases[] = {
      {"", "nothing"},
      {"<key>x</key><string ID=\"1\">a b</string>", "text a b"},
      {"<key>x</key><string></string>", "text "},
      {"<key>x</key><string/>", "text "},
      {"<key>x</key><string>&lt;&amp;&gt;&quot;&apos;&#65;</string>", "text <&>\"'A"},
      {"<key>x</key><string>&other;</string>", "text &other;"},
      {"<key>x</key><integer size=\"32\" ID=\"1\">0x8000</integer>", "number 32768"},
      {"<key>x</key><integer>12</integer>", "number 12"},
      {"<key>x</key><integer>0xffffffffffffffff</integer>", "number 18446744073709551615"},
      {"<key>x</key><integer>0x1ffffffffffffffff</integer>", "nothing"},
      {"<key>x</key><integer>-1</integer>", "nothing"},
      {"<key>x</key><integer>1z</integer>", "nothing"},
      {"<key>x</key><integer></integer>", "nothing"},
      {"<key>x</key><true/>", "nothing"},
      {"<key>x</key>", "nothing"},
      {"<key>y</key><string>x</string>", "nothing"},
      {"<key>x</key><array><string>a</string><integer>1</integer><string>b</string></array>",
       "array a b"},
      {"<key>x</key><array/>", "array"},
      {"<key>y</key><dict><key>x</key><string>a</string></dict>", "nothing"},
      {" \n <key>x</key>\n<string>a</string> <!", "fault"},
      {"\n<key>x</key>\n<string>a</string>\n", "text a"},
  };
  for (const auto& test : kCases) EXPECT_EQ(MeaningOfX(test.inside), test.meaning) << test.inside;
}

TEST(PropertyList, FollowsReferencesOnce) {
  const struct {
    const char* inside;
    const char* meaning;
  } kCases[] = {
      {"<key>y</key><string ID=\"1\">a</string><key>x</key><reference IDREF=\"1\"/>", "text a"},
      {"<key>x</key><reference IDREF=\"1\"/><key>y</key><string ID=\"1\">a</string>", "text a"},
      {"<key>x</key><array><string ID=\"1\">a</string><reference IDREF=\"1\"/></array>",
       "array a a"},
      {"<key>x</key><reference IDREF=\"9\"/>", "nothing"},
      {"<key>x</key><reference/>", "nothing"},
      {"<key>x</key><reference ID=\"1\" IDREF=\"1\"/>", "nothing"},
      {"<key>x</key><reference ID=\"1\" IDREF=\"2\"/><key>y</key><reference ID=\"2\" IDREF=\"1\"/>",
       "nothing"},
      {"<key>x</key><array ID=\"1\"><reference IDREF=\"1\"/></array>", "array"},
      {"<key>x</key><reference IDREF=\"0\"/>", "nothing"},
  };
  for (const auto& test : kCases) EXPECT_EQ(MeaningOfX(test.inside), test.meaning) << test.inside;
}

TEST(PropertyList, RefusesWhatNoKernelWrites) {
  const char* const kTexts[] = {"",
                                "dict",
                                "<dict>",
                                "<dict><key>x</dict>",
                                "<dict></array>",
                                "<array></array>",
                                "<plist><dict/></plist>",
                                "<dict><!-- a --></dict>",
                                "<dict><![CDATA[a]]></dict>",
                                "<dict a></dict>",
                                "<dict a=\"></dict>",
                                "<",
                                "<dict",
                                "<dict/",
                                "<dict><?",
                                "<?xml"};
  for (const char* text : kTexts) EXPECT_TRUE(PropertyList(BytesOf(text)).IsEmpty()) << text;
  EXPECT_TRUE(PropertyList(BytesOf("<!DOCTYPE a [<!ENTITY b \"c\">]><dict/>")).IsEmpty());
  EXPECT_FALSE(PropertyList(BytesOf("<dict/>")).IsEmpty());
  EXPECT_FALSE(PropertyList(BytesOf({"<dict/>\0<", 9})).IsEmpty());
}

std::string Repeated(const char* text, size_t times) {
  std::string all;
  for (size_t i = 0; i < times; ++i) all += text;
  return all;
}

TEST(PropertyList, BoundsTheNestingByTheElements) {
  constexpr size_t kMost = PropertyList::kMaxElements - 1;
  const auto nested = [](size_t depth) {
    return "<dict>" + Repeated("<a>", depth) + Repeated("</a>", depth) + "</dict>";
  };
  EXPECT_FALSE(PropertyList(BytesOf(nested(kMost))).IsEmpty());
  EXPECT_TRUE(PropertyList(BytesOf(nested(kMost + 1))).IsEmpty());
  // What stands in an attribute opens nothing, and is counted all the same.
  const std::string hidden = "<dict>" + Repeated("<a b='</a>'>", kMost + 1);
  EXPECT_TRUE(PropertyList(BytesOf(hidden)).IsEmpty());
  EXPECT_TRUE(PropertyList(BytesOf(std::string(PropertyList::kMaxBytes + 1, ' '))).IsEmpty());
}

}  // namespace
}  // namespace larkspur
