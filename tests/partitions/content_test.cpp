// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/content.h"

#include <gtest/gtest.h>

#include "base/owned.h"
#include "fakes/disk_builder.h"
#include "fakes/memory_disk.h"
#include "fakes/tree_text.h"
#include "imaging/tree_words.h"
#include "partitions/detection.h"
#include "partitions/field_text.h"
#include "partitions/place.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

using namespace std::string_view_literals;
using fakes::DiskBuilder;

constexpr u64 kSectors = 1024;

// The notes of the whole storage, in words.
std::string NotesOf(const std::vector<u8>& bytes) {
  const auto io = fakes::DiskOn(fakes::StoreOf(bytes));
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), io.get(), {.notes = &notes});
  std::string text;
  if (!tree.Root()) return text;
  for (const Note& note : notes.Of(*tree.Root())) {
    text += (text.empty() ? "" : "; ") + NoteText(note);
  }
  return text;
}

struct Case {
  const char* what;
  DiskBuilder disk;
  std::string notes;
};

constexpr std::string_view kUuid =
    "\x01\x23\x45\x67\x89\xab\xcd\xef\x01\x23\x45\x67\x89\xab\xcd\xef"sv;
constexpr char kUuidText[] = "01234567-89ab-cdef-0123-456789abcdef";

DiskBuilder Disk() {
  return DiskBuilder(kSectors);
}

DiskBuilder Zfs() {
  DiskBuilder disk = Disk();
  disk.Text(32, 0, "\1\1\0\0\0\0\0\0\0\0\0\1"sv);
  u64 at = 12;
  const auto pair = [&](std::string_view name, u32 type, auto put) {
    const u64 value = at + 12 + (name.size() + 3) / 4 * 4;
    disk.Be(32, at, 4, 64).Be(32, at + 8, 4, name.size()).Text(32, at + 12, name);
    disk.Be(32, value, 4, type).Be(32, value + 4, 4, 1);
    put(value + 8);
    at += 64;
  };
  pair("version", 8, [&](u64 value) { disk.Be(32, value, 8, 5000); });
  pair("name", 9, [&](u64 value) { disk.Be(32, value, 4, 4).Text(32, value + 4, "tank"); });
  pair("txg", 8, [&](u64 value) { disk.Be(32, value, 8, 4); });
  pair("pool_guid", 8, [&](u64 value) { disk.Be(32, value, 8, 1234567890123); });
  return disk;
}

// Begins at sector `at`. Blocks of 512 bytes; the catalogue's header is in block 4, its first leaf
// in block 5.
DiskBuilder HfsPlus(u64 at = 0) {
  DiskBuilder disk = Disk();
  disk.Text(at + 2, 0, "H+").Be(at + 2, 2, 2, 4).Be(at + 2, 40, 4, 512);
  disk.Be(at + 2, 104, 8, 0x0123456789abcdef).Be(at + 2, 272 + 16, 4, 4);
  disk.Be(at + 4, 14 + 10, 4, 1).Be(at + 4, 14 + 18, 2, 512);
  disk.Be(at + 5, 8, 1, 0xFF).Be(at + 5, 14, 2, 12).Be(at + 5, 16, 4, 1).Be(at + 5, 20, 2, 3);
  for (size_t i = 0; i < 3; ++i) disk.Be(at + 5, 22 + i * 2, 2, static_cast<u64>("Mac"[i]));
  return disk.Be(at + 5, 28, 2, 1).Be(at + 5, 36, 4, 2);
}

// Blocks of 512 bytes: descriptors from block 300 on. What stands elsewhere than it says is a copy
// that was moved: a second anchor where one of larger blocks would be, and an older name.
DiskBuilder Udf() {
  DiskBuilder disk(2048);
  disk.Text(64, 1, "BEA01").Text(68, 1, "NSR03").Text(72, 1, "TEA01");
  disk.Le(1024, 0, 2, 2).Le(1024, 12, 4, 9).Le(256, 0, 2, 2).Le(256, 12, 4, 256);
  disk.Le(256, 16, 4, 5 * 512).Le(256, 20, 4, 300);
  disk.Le(300, 0, 2, 1).Le(300, 12, 4, 300).Le(300, 72, 1, 8).Le(300, 72 + 127, 1, 21);
  disk.Text(300, 73, "0123456789ABCDEF set").Le(301, 0, 2, 6).Le(301, 12, 4, 301);
  disk.Text(301, 84, "\x08new").Le(301, 84 + 127, 1, 4).Le(301, 216 + 24, 2, 0x0250);
  disk.Le(302, 0, 2, 6).Le(302, 12, 4, 99).Text(302, 84, "\x08old").Le(302, 84 + 127, 1, 4);
  return disk.Le(303, 0, 2, 8).Le(304, 0, 2, 6).Le(304, 12, 4, 304);
}

// A sector to a cluster, one reserved, two tables.
DiskBuilder Fat() {
  DiskBuilder disk = Disk().Text(0, 54, "FAT16   ").Le(0, 11, 2, 512).Le(0, 13, 1, 1);
  return disk.Le(0, 14, 2, 1).Le(0, 16, 1, 2).Le(0, 21, 1, 0xF8);
}

DiskBuilder Gfs(u64 format, u64 shared) {
  return Disk().Be(128, 0, 4, 0x01161970).Be(128, 24, 4, format).Be(128, 28, 4, shared);
}

// What no tool of the tests' system makes.
std::vector<Case> Crafted() {
  return {
      {"ReFS", Disk().Text(0, 0, "\0\0\0ReFS\0"sv), "ReFS"},
      {"Storage Spaces", Disk().Text(0, 0, "SPACEDB ").Text(0, 32, kUuid),
       "Storage_Spaces_member, 67452301-ab89-efcd-0123-456789abcdef"},
      {"APFS",
       Disk().Le(0, 24, 4, 0x80000001).Text(0, 32, "NXSB").Le(0, 36, 4, 4096).Text(0, 72, kUuid),
       std::string("apfs, ") + kUuidText},
      {"HFS", Disk().Text(2, 0, "BD").Be(2, 20, 4, 4096).Be(2, 116, 8, 0x0123456789abcdef),
       "hfs, de53349f-21ad-3c08-9044-ae10cd9587d3"},
      {"HFS+", HfsPlus(), "hfsplus \"Mac\", de53349f-21ad-3c08-9044-ae10cd9587d3"},
      {"HFSX without an identifier", HfsPlus().Text(2, 0, "HX").Be(2, 104, 8, 0),
       "hfsplus \"Mac\""},
      {"HFS+ in a wrapper",
       HfsPlus(8)
           .Text(2, 0, "BD")
           .Be(2, 20, 4, 1024)
           .Be(2, 28, 2, 4)
           .Text(2, 124, "H+")
           .Be(2, 126, 2, 2),
       "hfsplus \"Mac\", de53349f-21ad-3c08-9044-ae10cd9587d3"},
      {"ZFS", Zfs(), "zfs_member 5000 \"tank\", 1234567890123"},
      {"UFS2",
       Disk()
           .Le(128, 1372, 4, 0x19540119)
           .Le(128, 48, 4, 32768)
           .Text(128, 680, "data")
           .Le(128, 144, 4, 0x12345678)
           .Le(128, 148, 4, 0x9abcdef0),
       "ufs 2 \"data\", 123456789abcdef0"},
      {"DRBD", Disk().Be(kSectors - 8, 60, 4, 0x8374026D).Be(kSectors - 8, 40, 8, 0xABC),
       "drbd v09, abc"},
      {"DDF", Disk().Be(kSectors - 1, 0, 4, 0xDE11DE11),
       "ddf_raid_member, " + std::string(48, '0')},
      {"Adaptec", Disk().Be(kSectors - 1, 0, 4, 0x37FC4D1E).Text(kSectors - 1, 268, "DPTM"),
       "adaptec_raid_member"},
      {"VMFS",
       DiskBuilder(8192)
           .Le(4096, 0, 4, 0x2FABF15E)
           .Le(4096, 4, 4, 5)
           .Le(4096, 9, 8, 0x0807060504030201)
           .Text(4096, 29, "datastore1"),
       "VMFS \"datastore1\", 04030201-08070605-0000-000000000000"},
      {"UDF of blocks of 4096 bytes",
       Disk().Text(64, 1, "BEA01").Text(72, 1, "NSR03").Text(80, 1, "TEA01"), "udf"},
      {"UDF of blocks of 512 bytes", Udf(), "udf 2.50 \"new\", 0123456789abcdef"},
      {"UFS of the other byte order", Disk().Be(16, 1372, 4, 0x19540119).Be(16, 48, 4, 8192),
       "ufs 2, 0000000000000000"},
      {"BeFS",
       Disk()
           .Text(1, 0, "haiku")
           .Text(1, 32, "1SFB")
           .Le(1, 68, 4, 0xDD121031)
           .Le(1, 112, 4, 0x15B6830E),
       "befs little-endian \"haiku\""},
      {"neither of them", Gfs(1309, 1900), ""},
      {"Minix of Motorola's byte order",
       Disk()
           .Be(2, 0, 2, 352)
           .Be(2, 2, 2, 1024)
           .Be(2, 4, 2, 1)
           .Be(2, 6, 2, 1)
           .Be(2, 8, 2, 47)
           .Be(2, 16, 2, 0x138F),
       "minix 1"},
      {"Minix 2 of it",
       Disk().Be(2, 0, 2, 352).Be(2, 4, 2, 1).Be(2, 6, 2, 1).Be(2, 16, 2, 0x2468).Be(2, 20, 4, 512),
       "minix 2"},
      {"DRBD over ext",
       Disk().Le(2, 56, 2, 0xEF53).Le(2, 32, 4, 8).Be(kSectors - 8, 60, 4, 0x8374026B), "drbd v08"},
      {"nothing", Disk(), ""},
      {"the word alone is no FAT", Disk().Text(0, 54, "FAT16   "), ""},
      {"an ext of impossible blocks", Disk().Le(2, 56, 2, 0xEF53).Le(2, 24, 4, 60).Le(2, 32, 4, 8),
       ""},
  };
}

TEST(Content, IsRecognisedByItsRow) {
  for (const Case& test : Crafted()) EXPECT_EQ(NotesOf(test.disk.Bytes()), test.notes) << test.what;
}

struct Place {
  u64 sector;
  size_t offset;
};

TEST(Content, IsKnownByEachMarkAtEachPlace) {
  const DiskBuilder blank = Disk();
  const DiskBuilder md = Disk().Le(kSectors - 16, 4, 4, 1).Le(kSectors - 16, 144, 8, kSectors - 16);
  const DiskBuilder ufs = Disk().Le(16, 48, 4, 8192).Le(128, 48, 4, 8192);
  const DiskBuilder bigUfs = Disk().Be(16, 48, 4, 8192).Be(128, 48, 4, 8192);
  const struct {
    const char* notes;
    const DiskBuilder& disk;
    std::vector<Place> places;
    std::vector<std::string_view> marks;
  } cases[] = {
      {"drbd v08", blank, {{kSectors - 8, 60}}, {"\x83\x74\x02\x6B"sv, "\x83\x74\x02\x6C"sv}},
      {"drbd v09", blank, {{kSectors - 8, 60}}, {"\x83\x74\x02\x6D"sv}},
      {"linux_raid_member 1.0", md, {{kSectors - 16, 0}}, {"\xfc\x4e\x2b\xa9"sv}},
      {"linux_raid_member 0.90.0",
       blank,
       {{kSectors - 128, 0}},
       {"\xfc\x4e\x2b\xa9"sv, "\xa9\x2b\x4e\xfc"sv}},
      {"ddf_raid_member, 00",
       blank,
       {{kSectors - 1, 0}},
       {"\xDE\x11\xDE\x11"sv, "\x11\xDE\x11\xDE"sv}},
      {"lsi_mega_raid_member", blank, {{kSectors - 1, 0}}, {"$XIDE$"sv}},
      {"isw_raid_member", blank, {{kSectors - 2, 0}}, {"Intel Raid ISM Cfg Sig. "sv}},
      {"nvidia_raid_member", blank, {{kSectors - 2, 0}}, {"NVIDIA"sv}},
      {"hpt45x_raid_member",
       blank,
       {{kSectors - 11, 0}},
       {"\xF3\x16\x78\x5A"sv, "\xFD\x16\x78\x5A"sv}},
      {"hpt37x_raid_member", blank, {{9, 32}}, {"\xF0\x16\x78\x5A"sv, "\xFD\x16\x78\x5A"sv}},
      {"promise_fasttrack_raid_member",
       blank,
       {{kSectors - 63, 0}},
       {"Promise Technology, Inc."sv}},
      {"BitLocker", blank, {{0, 3}}, {"-FVE-FS-"sv}},
      {"BitLocker",
       blank,
       {{0, 424}},
       {"\x3b\xd6\x67\x49\x29\x2e\xd8\x4a\x83\x99\xf6\xa3\x39\xe3\xd0\x01"sv}},
      {"squashfs3", blank, {{0, 0}}, {"hsqs"sv, "sqsh"sv}},
      {"LVM2_member LVM2 001", blank, {{0, 24}, {1, 24}, {2, 24}, {3, 24}}, {"LVM2 001"sv}},
      {"f2fs 0.0", blank, {{2, 0}}, {"\x10\x20\xF5\xF2"sv}},
      {"ocfs2 0.0", blank, {{2, 0}, {4, 0}, {8, 0}, {16, 0}}, {"OCFSV2"sv}},
      {"swap 1", blank, {{7, 502}, {15, 502}, {31, 502}, {63, 502}, {127, 502}}, {"SWAPSPACE2"sv}},
      {"swap 0", blank, {{7, 502}}, {"SWAP-SPACE"sv}},
      {"swsuspend", blank, {{7, 502}}, {"S1SUSPEND"sv, "S2SUSPEND"sv, "ULSUSPEND"sv}},
      {"reiserfs 3.5", blank, {{16, 52}, {128, 52}}, {"ReIsErFs"sv}},
      {"ufs 1, 0", ufs, {{18, 348}}, {"\x54\x19\x01\x00"sv}},
      {"ufs 2, 0", ufs, {{18, 348}, {130, 348}}, {"\x19\x01\x54\x19"sv}},
      {"ufs 1, 0", bigUfs, {{18, 348}}, {"\x00\x01\x19\x54"sv}},
      {"ufs 2, 0", bigUfs, {{18, 348}, {130, 348}}, {"\x19\x54\x01\x19"sv}},
  };
  for (const auto& c : cases) {
    for (const Place& place : c.places) {
      for (const std::string_view mark : c.marks) {
        DiskBuilder disk = c.disk;
        const std::string notes = NotesOf(disk.Text(place.sector, place.offset, mark).Bytes());
        EXPECT_TRUE(notes.starts_with(c.notes)) << c.notes << ' ' << place.sector << ": " << notes;
      }
    }
  }
}

// Fields that are full, with more text after them: "@" for the field's, "#" for the identifier.
TEST(Content, TextsEndWithTheirFields) {
  const auto md = [](u64 sector) {
    return Disk().Le(sector, 0, 4, 0xA92B4EFC).Le(sector, 4, 4, 1).Le(sector, 144, 8, sector);
  };
  const DiskBuilder vmfs = DiskBuilder(8192).Le(4096, 0, 4, 0x2FABF15E).Le(4096, 4, 4, 5);
  const DiskBuilder vmfsMember = DiskBuilder(8192).Le(2048, 0, 4, 0xC001D00D).Le(2048, 4, 4, 5);
  const DiskBuilder bcache = Disk()
                                 .Le(8, 8, 8, 8)
                                 .Text(8, 24, "\xc6\x85\x73\xf6\x4e\x1a\x45\xca\x82\x65\xf5"sv)
                                 .Text(8, 35, "\x7f\x48\xba\x6d\x81"sv);
  const DiskBuilder bcachefs =
      Disk().Text(8, 24, "\xc6\x85\x73\xf6\x66\xce\x90\xa9\xd9\x6a\x60\xcf\x80\x3d\xf7\xef"sv);
  const struct {
    std::string notes;
    DiskBuilder disk;
    u64 sector;
    size_t text, bytes, uuid, width = 1;
  } cases[] = {
      {"crypto_LUKS 1, @", Disk().Text(0, 0, "LUKS\xBA\xBE\0\1"sv), 0, 168, 40, 0},
      {"crypto_LUKS 2 \"@\"", Disk().Text(0, 0, "LUKS\xBA\xBE\0\2"sv), 0, 24, 48, 0},
      {"xfs \"@\", #", Disk().Text(0, 0, "XFSB").Be(0, 4, 4, 4096).Be(0, 102, 2, 512), 0, 108, 12,
       32},
      {"linux_raid_member 1.1 \"@\", #", md(0), 0, 32, 32, 16},
      {"linux_raid_member 1.2 \"@\", #", md(8), 8, 32, 32, 16},
      {"linux_raid_member 1.0 \"@\", #", md(kSectors - 16), kSectors - 16, 32, 32, 16},
      {"befs little-endian \"@\"",
       Disk().Text(1, 32, "1SFB").Le(1, 68, 4, 0xDD121031).Le(1, 112, 4, 0x15B6830E), 1, 0, 32, 0},
      {"f2fs 0.0 \"@\", #", Disk().Le(2, 0, 4, 0xF2F52010), 2, 124, 1024, 108, 2},
      {"erofs \"@\", #", Disk().Le(2, 0, 4, 0xE0F5E1E2), 2, 64, 16, 48},
      {"nilfs2 2 \"@\", #", Disk().Le(2, 0, 4, 2).Le(2, 6, 2, 0x3434).Le(2, 8, 2, 256), 2, 168, 80,
       152},
      {"ext2 0.0 \"@\", #", Disk().Le(2, 56, 2, 0xEF53).Le(2, 32, 4, 8), 2, 120, 16, 104},
      {"ocfs2 0.90 \"@\", #", Disk().Text(2, 0, "OCFSV2").Le(2, 194, 2, 90), 2, 272, 64, 336},
      {"bcache, #", bcache, 8, 0, 0, 40},
      {"bcachefs \"@\", #", bcachefs, 8, 72, 32, 56},
      {"swap 1 \"@\", #", Disk().Text(7, 502, "SWAPSPACE2"), 0, 1052, 16, 1036},
      {"swsuspend \"@\", #", Disk().Text(7, 502, "S1SUSPEND"), 0, 1052, 16, 1036},
      {"jfs \"@\", #", Disk().Text(64, 0, "JFS1").Le(64, 16, 4, 4096).Le(64, 20, 2, 12), 64, 152,
       16, 136},
      {"iso9660 \"@\"", Disk().Text(64, 0, "\1CD001"), 64, 40, 32, 0},
      {"btrfs \"@\", #", Disk().Text(128, 64, "_BHRfS_M").Le(128, 48, 8, 65536), 128, 299, 256, 32},
      {"gfs2 1 \"@\", #", Gfs(1802, 1900), 128, 160, 64, 256},
      {"gfs \"@\", #", Gfs(1309, 1401), 128, 160, 64, 256},
      {"reiserfs 3.6 \"@\", #", Disk().Text(128, 52, "ReIsEr2Fs"), 128, 100, 16, 84},
      {"reiserfs JR \"@\", #", Disk().Text(128, 52, "ReIsEr3Fs"), 128, 100, 16, 84},
      {"VMFS_volume_member, @", vmfsMember, 2048, 532, 35, 0},
      {"VMFS \"@\", 00000000-00000000-0000-000000000000", vmfs, 4096, 29, 128, 0},
  };
  for (const auto& c : cases) {
    DiskBuilder disk = c.disk;
    if (c.uuid != 0) disk.Text(c.sector, c.uuid, kUuid);
    std::string text;
    constexpr size_t kMore = 8;
    u8* const field = disk.At(c.sector, c.text, c.bytes + kMore);
    for (size_t i = 0; c.bytes > 0 && i < c.bytes + kMore; i += c.width) {
      const char letter = static_cast<char>('a' + i % 25);
      if (i < c.bytes) text += letter;
      if (field[i] == 0) field[i] = static_cast<u8>(letter);
    }
    std::string notes = c.notes;
    if (const size_t at = notes.find('@'); at != notes.npos) notes.replace(at, 1, text);
    if (const size_t at = notes.find('#'); at != notes.npos) notes.replace(at, 1, kUuidText);
    EXPECT_EQ(NotesOf(disk.Bytes()), notes);
  }
}

TEST(Content, CountedLabelsEndWhereTheyMay) {
  const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (const auto& [count, shown] : {std::pair{3u, 3u}, {27u, 27u}, {28u, 27u}, {255u, 27u}}) {
    DiskBuilder disk = Disk().Text(2, 0, "BD").Be(2, 20, 4, 4096).Le(2, 36, 1, count);
    EXPECT_EQ(NotesOf(disk.Text(2, 37, letters).Bytes()),
              "hfs \"" + letters.substr(0, shown) + '"');
  }
  for (const auto& [count, shown] : {std::pair{3u, 3u}, {11u, 11u}, {12u, 11u}, {255u, 11u}}) {
    DiskBuilder disk = Disk().Text(0, 3, "EXFAT   ").Le(0, 96, 4, 3).Le(0, 88, 4, 8);
    disk.Le(0, 108, 1, 9).Le(0, 109, 1, 1).Text(10, 0, "\x81").Text(10, 32, "\x83");
    for (size_t i = 0; i < 14; ++i) disk.Text(10, 34 + 2 * i, letters.substr(i, 1));
    EXPECT_EQ(NotesOf(disk.Le(10, 33, 1, count).Bytes()),
              "exfat 0.0 \"" + letters.substr(0, shown) + "\", 0000-0000");
  }
}

TEST(Content, TheLabelOfFatIsTheFirstEntryThatIsOne) {
  const struct {
    u8 first;
    u64 attributes;
    const char* label;
  } kCases[] = {
      {'A', 0x08, " \"ABCDEFGHIJK\""},
      {'A', 0x28, " \"ABCDEFGHIJK\""},
      {'A', 0x48, " \"ABCDEFGHIJK\""},
      {'A', 0x20, " \"NEXT\""},
      {'A', 0x10, " \"NEXT\""},
      {'A', 0x0F, " \"NEXT\""},
      {'A', 0x4F, " \"NEXT\""},
      {0xE5, 0x08, " \"NEXT\""},
      {0, 0x08, ""},
  };
  const DiskBuilder fat16 = Fat().Le(0, 17, 2, 2).Le(0, 22, 2, 1);
  const DiskBuilder fat32 = Fat().Text(0, 82, "FAT32   ").Le(0, 36, 4, 4).Le(0, 44, 4, 5);
  for (const auto& c : kCases) {
    for (const auto& [disk, sector] : {std::pair{fat16, 3u}, {fat32, 12u}}) {
      DiskBuilder labelled = disk;
      labelled.Text(sector, 0, "ABCDEFGHIJK")
          .Le(sector, 0, 1, c.first)
          .Le(sector, 11, 1, c.attributes);
      labelled.Text(sector, 32, "NEXT       \x08").Text(sector, 64, "LAST       \x08");
      const std::string notes = NotesOf(labelled.Bytes());
      EXPECT_EQ(notes,
                (sector == 3 ? "vfat FAT16" : "vfat FAT32") + std::string(c.label) + ", 0000-0000");
    }
  }
}

TEST(Content, TextsHaveNoControlCharacters) {
  const std::u16string units = u"\u001F \u007E\u007F\u009F\u00A0\xD83D\xDCBE\xD83Dx\xDCBE  ";
  const std::string expected = "\uFFFD \u007E\uFFFD\uFFFD\u00A0\U0001F4BE\uFFFDx\uFFFD";
  std::vector<u8> little, big;
  for (const char16_t unit : units) {
    const u8 low = static_cast<u8>(unit), high = static_cast<u8>(unit >> 8);
    little.insert(little.end(), {low, high});
    big.insert(big.end(), {high, low});
  }
  EXPECT_EQ(FieldUtf16(little, false), expected);
  EXPECT_EQ(FieldUtf16(big, true), expected);
  const std::string bytes = "\x1F \x7E\x7F\u009F\u00A0 x  ";
  EXPECT_EQ(FieldUtf8({reinterpret_cast<const u8*>(bytes.data()), bytes.size()}),
            "\uFFFD \x7E\uFFFD\uFFFD\u00A0 x");
}

TEST(Content, AUdfsIdentifierIsSixteenDigits) {
  for (const auto& [name, uuid] : {std::pair{"0123456789ABCDEF", ", 0123456789abcdef"},
                                   {"fa0123456789AF9-", ""},
                                   {"0123456789:abcde", ""},
                                   {"0123456789abcde@", ""},
                                   {"0123456789abcdeg", ""},
                                   {"0123456789abcde", ""}}) {
    DiskBuilder disk = Udf();
    std::fill_n(disk.At(300, 73, 32), 32, u8{0});
    const size_t used = std::string_view(name).size() + 1;
    EXPECT_EQ(NotesOf(disk.Text(300, 73, name).Le(300, 72 + 127, 1, used).Bytes()),
              std::string("udf 2.50 \"new\"") + uuid);
  }
}

// The words are blkid's, of such discs.
TEST(Content, ADiscsLabelIsThatOfBothItsNames) {
  const struct {
    std::string_view iso, joliet, label;
  } kCases[] = {
      {"JOLIET_LABEL_LONGER_THAN", "Joliet Label Lon", "Joliet Label LonGER_THAN"},
      {"ABCDEFGHIJKLMNOPQRST", "abcdefghijklmnop", "abcdefghijklmnopQRST"},
      {"ABCDEFGHIJKLMNOPQRST", "abcdefghijklmnoX", "abcdefghijklmnoX"},
      {"ABCDEFGHIJKLMNOPQRST", "abcdefghijklmno", "abcdefghijklmno"},
      {"ABCDEFGHIJKLMNO QRST", "abcdefghijklmno ", "abcdefghijklmno QRST"},
      {"ABCDEFGHIJKLMNOP    Q", "abcdefghijklmnop", "abcdefghijklmnop    Q"},
      {"ABCDEFGHIJK-MNOPQRST", "abcdefghijk_mnop", "abcdefghijk-mnopQRST"},
      {"ABCDEFGHIJK_MNOPQRST", "abcdefghijk-mnop", "abcdefghijk-mnopQRST"},
      {"abcdefghijklmnopqrst", "ABCDEFGHIJKLMNOP", "abcdefghijklmnopqrst"},
      {"Small in both of its names", "Small in both of", "Small in both of its names"},
      {"_____________________", "1234567890123456", "1234567890123456_____"},
      {"OTHER", "Joliet", "Joliet"},
      {"ABCDEFGHIJ KLM", "Abc", "Abc"},
  };
  for (const auto& test : kCases) {
    DiskBuilder disk = Disk().Text(64, 0, "\1CD001").Text(64, 40, std::string(32, ' '));
    disk.Text(64, 40, test.iso).Text(68, 0, "\2CD001").Text(68, 88, "%/E");
    for (size_t i = 0; i < 16; ++i) {
      disk.Be(68, 40 + 2 * i, 2, i < test.joliet.size() ? static_cast<u8>(test.joliet[i]) : ' ');
    }
    EXPECT_EQ(NotesOf(disk.Bytes()), "iso9660 Joliet Extension \"" + std::string(test.label) + '"');
  }
}

// A field of a superblock at both ends of what may stand there, and past them.
TEST(Content, FieldsHaveLimits) {
  const DiskBuilder fat = Fat();
  const DiskBuilder exfat =
      Disk().Text(0, 3, "EXFAT   ").Le(0, 96, 4, 2).Le(0, 108, 1, 9).Le(0, 109, 1, 3);
  const DiskBuilder ntfs =
      Disk().Text(0, 3, "NTFS    ").Le(0, 11, 2, 512).Le(0, 13, 1, 8).Le(0, 48, 8, 4);
  const DiskBuilder xfs = Disk().Text(0, 0, "XFSB").Be(0, 4, 4, 4096).Be(0, 102, 2, 512);
  const DiskBuilder ext = Disk().Le(2, 56, 2, 0xEF53).Le(2, 32, 4, 8);
  const DiskBuilder apfs = Disk().Le(0, 24, 4, 1).Text(0, 32, "NXSB");
  const DiskBuilder nilfs = Disk().Le(2, 0, 4, 2).Le(2, 6, 2, 0x3434);
  const DiskBuilder ufs = Disk().Le(128, 1372, 4, 0x19540119);
  const DiskBuilder hfs = Disk().Text(2, 0, "BD"), hfsPlus = Disk().Text(2, 0, "HX");
  const DiskBuilder luks = Disk().Text(0, 0, "LUKS\xBA\xBE"), squashfs = Disk().Text(0, 0, "hsqs");
  const DiskBuilder btrfs = Disk().Text(128, 64, "_BHRfS_M");
  const DiskBuilder jfs = Disk().Text(64, 0, "JFS1").Le(64, 16, 4, 4096).Le(64, 20, 2, 12);
  const DiskBuilder gfs2 = Gfs(1802, 1900), gfs = Gfs(1309, 1401);
  const DiskBuilder befs =
      Disk().Text(1, 32, "1SFB").Le(1, 68, 4, 0xDD121031).Le(1, 112, 4, 0x15B6830E);
  const DiskBuilder minix = Disk()
                                .Le(2, 0, 2, 100)
                                .Le(2, 2, 2, 500)
                                .Le(2, 4, 2, 1)
                                .Le(2, 6, 2, 1)
                                .Le(2, 8, 2, 47)
                                .Le(2, 16, 2, 0x137F);
  const DiskBuilder minix3 = Disk()
                                 .Le(2, 0, 4, 100)
                                 .Le(2, 6, 2, 1)
                                 .Le(2, 8, 2, 1)
                                 .Le(2, 10, 2, 47)
                                 .Le(2, 20, 4, 500)
                                 .Le(2, 24, 2, 0x4D5A)
                                 .Le(2, 28, 2, 1024);
  const DiskBuilder vmfs = DiskBuilder(8192).Le(4096, 0, 4, 0x2FABF15E);
  const struct {
    const char* what;
    const DiskBuilder& disk;
    u64 sector;
    size_t offset, width;
    bool isBigEndian;
    std::vector<u64> allowed, refused;
  } cases[] = {
      {"vfat", fat, 0, 11, 2, false, {512, 4096}, {0, 256, 513, 8192}},
      {"vfat", fat, 0, 13, 1, false, {1, 128}, {0, 3}},
      {"vfat", fat, 0, 21, 1, false, {0xF0, 0xF8, 0xFF}, {0xEF, 0xF1, 0xF7}},
      {"vfat", fat, 0, 14, 2, false, {1}, {0}},
      {"vfat", fat, 0, 16, 1, false, {1}, {0}},
      {"exfat", exfat, 0, 108, 1, false, {9, 12}, {8, 13}},
      {"exfat", exfat, 0, 109, 1, false, {0, 16}, {17}},
      {"exfat", exfat, 0, 96, 4, false, {2}, {1}},
      {"ntfs", ntfs, 0, 11, 2, false, {256, 4096}, {128, 384, 8192}},
      {"ntfs", ntfs, 0, 13, 1, false, {1}, {0}},
      {"ntfs", ntfs, 0, 14, 2, false, {0}, {1}},
      {"ntfs", ntfs, 0, 48, 8, false, {1}, {0}},
      {"xfs", xfs, 0, 4, 4, true, {512, 65536}, {256, 131072}},
      {"xfs", xfs, 0, 102, 2, true, {512, 32768}, {256, 768}},
      {"ext", ext, 2, 24, 4, false, {0, 6}, {7}},
      {"ext", ext, 2, 32, 4, false, {1}, {0}},
      {"hfs", hfs, 2, 20, 4, true, {512, 1536, 65536}, {0, 256, 513}},
      {"hfsplus", hfsPlus, 2, 40, 4, true, {512, 0x80000000}, {0, 256, 1536}},
      {"crypto_LUKS 1", luks, 0, 6, 2, true, {1}, {0, 2}},
      {"crypto_LUKS 2", luks, 0, 6, 2, true, {2}, {1, 3}},
      {"squashfs3", squashfs, 0, 28, 2, false, {0, 3}, {4, 5}},
      {"squashfs 4.0", squashfs, 0, 28, 2, false, {4}, {3, 5}},
      {"btrfs", btrfs, 128, 48, 8, false, {65536}, {0, 65537}},
      {"jfs", jfs, 64, 16, 4, false, {4096}, {0, 2048, 8192}},
      {"jfs", jfs, 64, 20, 2, false, {12}, {11, 13, 44}},
      {"gfs2", gfs2, 128, 24, 4, true, {1800, 1899}, {1799, 1900}},
      {"gfs2", gfs2, 128, 28, 4, true, {1900, 1999}, {1899, 2000}},
      {"gfs ", gfs, 128, 24, 4, true, {}, {1308, 1310}},
      {"gfs ", gfs, 128, 28, 4, true, {}, {1400, 1402}},
      {"befs", befs, 1, 68, 4, false, {0xDD121031}, {0}},
      {"befs", befs, 1, 112, 4, false, {0x15B6830E}, {0}},
      {"apfs", apfs, 0, 36, 4, false, {4096, 65536}, {2048, 131072}},
      {"nilfs2", nilfs, 2, 8, 2, false, {256, 1024}, {255, 1025}},
      {"ufs", ufs, 128, 48, 4, false, {4096, 65536}, {2048, 131072}},
      {"minix 1", minix, 2, 0, 2, false, {1, 8191}, {0, 8192}},
      {"minix 1", minix, 2, 2, 2, false, {48, 8238}, {0, 47, 8239}},
      {"minix 1", minix, 2, 10, 2, false, {0}, {1}},
      {"minix 1", minix, 2, 18, 2, false, {0, 3}, {4}},
      {"minix 3", minix3, 2, 0, 4, false, {1, 8191}, {0, 8192}},
      {"minix 3", minix3, 2, 12, 2, false, {0}, {1}},
      {"minix 3", minix3, 2, 20, 4, false, {48, 8238}, {0, 47, 8239}},
      {"minix 3", minix3, 2, 28, 2, false, {1024, 32768}, {0, 512, 1000}},
      {"VMFS", vmfs, 4096, 4, 4, false, {1, 99}, {0, 100}},
  };
  for (const auto& c : cases) {
    const auto isKnown = [&c](u64 value) {
      DiskBuilder disk = c.disk;
      if (c.isBigEndian) disk.Be(c.sector, c.offset, c.width, value);
      if (!c.isBigEndian) disk.Le(c.sector, c.offset, c.width, value);
      return NotesOf(disk.Bytes()).starts_with(c.what);
    };
    for (const u64 value : c.allowed) EXPECT_TRUE(isKnown(value)) << c.what << ' ' << value;
    for (const u64 value : c.refused) EXPECT_FALSE(isKnown(value)) << c.what << ' ' << value;
  }
}

TEST(Content, TypesOfGuidTablesHaveWords) {
  EXPECT_EQ(GptTypeWords("c12a7328-f81f-11d2-ba4b-00a0c93ec93b"), "EFI system");
  EXPECT_EQ(GptTypeWords("aa31e02a-400f-11db-9590-000c2911d1b8"), "VMware VMFS");
  EXPECT_EQ(GptTypeWords("c12a7328-f81f-11d2-ba4b-00a0c93ec93c"), "");
  EXPECT_EQ(PromiseOfGptType("0657fd6d-a4ab-43c4-84e5-0933c84b4f4f").first, "swap");
}

// A disk that says how large its sectors are.
Owned<fakes::cMemoryDisk> DiskOf(const DiskBuilder& disk, u32 sectorBytes) {
  auto io = disk.Disk();
  io->Store().sectorBytes = sectorBytes;
  return io;
}

std::string TreeForPeople(const DiskBuilder& disk, u32 sectorBytes) {
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), DiskOf(disk, sectorBytes).get(), {.notes = &notes});
  std::string text = fakes::TreeText(tree.Root());
  for (const Note& note : notes.Of(*tree.Root())) text += NoteText(note) + "\n";
  return text;
}

constexpr char kBasic[] = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7";

DiskBuilder& PutNtfs(DiskBuilder& disk, u64 sector) {
  return disk.Text(sector, 3, "NTFS    ").Le(sector, 510, 2, 0xAA55);
}

// One disk, looked at directly and through what does not know its sectors.
TEST(SectorSize, IsChosenByWhatLiesWhereTheTableLeads) {
  DiskBuilder large(65536);  // a table that counts in 4096 bytes, with a chain
  large.MbrEntry(0, 0, 7, 256, 1000).MbrEntry(0, 1, 5, 2000, 4000);
  PutNtfs(large, 2048);
  large.MbrEntry(16000, 0, 7, 10, 100).MbrEntry(16000, 1, 5, 500, 200);
  large.MbrEntry(20000, 0, 7, 10, 150);
  const std::string largeTree =
      "0+65536 32764 \"[unknown]\" mbr\n"
      "  2048+8000 7 \"NTFS\" mbr\n"
      "  16000+32000 5 \"Extended\"\n"
      "    16080+800 7 \"NTFS\" {offset 10}\n"
      "    20080+1200 7 \"NTFS\" {offset 10}\n"
      "counts in sectors of 4096 bytes\n";
  DiskBuilder small(65536);
  small.MbrEntry(0, 0, 7, 2048, 1000);
  PutNtfs(small, 2048);
  const std::string smallTree =
      "0+65536 32764 \"[unknown]\" mbr\n"
      "  2048+1000 7 \"NTFS\" mbr\n";
  DiskBuilder gpt(65536);  // of 4096 bytes, behind its protective entry
  gpt.MbrEntry(0, 0, 0xEE, 1, 8191).Gpt(8, 1, 4, 8).GptEntry(8, 0, kBasic, 256, 355, 8);
  const std::string gptTree =
      "0+65536 32764 \"[unknown]\" mbr\n"
      "  1+8191 238 \"GPT OEM\" gpt\n"
      "    2048+792 24451 \"GPT Basic\"\n";
  for (const u32 sectorBytes : {512u, 4096u}) {
    const std::string note =
        sectorBytes == 512 ? std::string() : "counts in sectors of 512 bytes\n";
    EXPECT_EQ(TreeForPeople(large, sectorBytes), largeTree) << sectorBytes;
    EXPECT_EQ(TreeForPeople(small, sectorBytes), smallTree + note) << sectorBytes;
    EXPECT_EQ(TreeForPeople(gpt, sectorBytes), gptTree) << sectorBytes;
  }
  // A boot record's mark alone, where the other reading leads, is chance.
  DiskBuilder marked(65536);
  marked.MbrEntry(0, 0, 0x83, 256, 1000).Le(2048, 510, 2, 0xAA55);
  EXPECT_NE(TreeForPeople(marked, 512).find("\n  256+1000 131"), std::string::npos);
  // Far inside the partition as well.
  DiskBuilder far(65536);
  far.MbrEntry(0, 0, 0x83, 256, 1000).Text(2048 + 128, 64, "_BHRfS_M").Le(2048 + 128, 48, 8, 65536);
  EXPECT_NE(TreeForPeople(far, 512).find("\n  2048+8000 131"), std::string::npos);
  // What says 4096 is not believed where the table would then end past the disk, or where a mark
  // speaks for the other reading.
  const DiskBuilder tooLong = DiskBuilder(65536).MbrEntry(0, 0, 0x83, 256, 9000);
  const DiskBuilder smallMark =
      DiskBuilder(65536).MbrEntry(0, 0, 0x83, 256, 1000).Le(256, 510, 2, 0xAA55);
  for (const DiskBuilder& disk : {tooLong, smallMark}) {
    EXPECT_NE(TreeForPeople(disk, 4096).find("\n  256+"), std::string::npos);
  }
  // A host still gets what the storage's geometry gives.
  for (const auto& [sectorBytes, child] :
       {std::pair{4096u, "\n  2048+8000 7"}, {512u, "\n  256+1000 7"}}) {
    EXPECT_NE(fakes::TreeText(DiskOf(large, sectorBytes).get()).find(child), std::string::npos);
  }
  const DiskBuilder blank = DiskBuilder(65536).MbrEntry(0, 0, 7, 256, 7936);
  EXPECT_NE(TreeForPeople(blank, 4096).find("nothing confirms it"), std::string::npos);
}

// The note of kind `Kind` at that place; none when there is none.
template <typename Kind>
std::optional<Kind> NoteAt(const DiskBuilder& disk, const char* place) {
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), disk.Disk().get(), {.notes = &notes});
  for (const Note& note : notes.Of(*FindNode(*tree.Root(), place))) {
    if (const auto* found = std::get_if<Kind>(&note)) return *found;
  }
  return std::nullopt;
}

TEST(Notes, GoToTheNodeThatTheySpeakOf) {
  // The superblock at the end of the last partition is at the end of the disk, too. What lies in a
  // member has no type of a table.
  DiskBuilder member(8192);
  member.MbrEntry(0, 0, 0xFD, 2048, 6144).Le(8064, 0, 4, 0xA92B4EFC).Le(8064, 40, 4, 2);
  member.Le(8064, 28, 4, 1).Le(8064, 32, 4, 3000);
  EXPECT_FALSE(NoteAt<ContentNote>(member, ""));
  EXPECT_EQ(NoteAt<ContentNote>(member, "1")->name, "linux_raid_member");
  EXPECT_TRUE(NoteAt<TypeNote>(member, "1")->isConfirmed);
  EXPECT_FALSE(NoteAt<TypeNote>(member, "1.1"));
  // A file system with an older table in its first sector.
  DiskBuilder stale(8192);
  stale.MbrEntry(0, 0, 0x83, 1000, 6000).MbrEntry(1000, 0, 0x83, 1500, 100);
  stale.Le(1002, 56, 2, 0xEF53).Le(1002, 32, 4, 8);
  EXPECT_EQ(NoteAt<ContentNote>(stale, "1")->name, "ext2");
  // What the table says, not what the partition's contents made of it.
  DiskBuilder other(8192);
  other.MbrEntry(0, 0, 0x82, 1000, 6000);
  PutNtfs(other, 1000);
  EXPECT_EQ(NoteAt<TypeNote>(other, "1")->expected, "swap");
}

// Megabytes inside a partition nothing is looked for, but by its type.
TEST(Notes, VmfsIsLookedForWhereATableSaysIt) {
  constexpr u64 kVolume = 64 + 4096;
  const auto vmfs = [] {
    return DiskBuilder(8192).Le(kVolume, 0, 4, 0x2FABF15E).Le(kVolume, 4, 4, 5);
  };
  const auto isTold = [](const DiskBuilder& disk) {
    return NoteAt<ContentNote>(disk, "1").has_value();
  };
  EXPECT_TRUE(isTold(vmfs().MbrEntry(0, 0, 0xFB, 64, 8000)));
  EXPECT_FALSE(isTold(vmfs().MbrEntry(0, 0, 0x83, 64, 8000)));
  const auto gpt = [&vmfs](const char* type) {
    return vmfs().MbrEntry(0, 0, 0xEE, 1, 8191).Gpt(1, 1, 4).GptEntry(1, 0, type, 64, 8100);
  };
  EXPECT_TRUE(NoteAt<ContentNote>(gpt("AA31E02A-400F-11DB-9590-000C2911D1B8"), "1.1"));
  EXPECT_FALSE(NoteAt<ContentNote>(gpt(kBasic), "1.1"));
}

TEST(Notes, TellWhichLimitWasReached) {
  DiskBuilder disk(8192);
  for (u64 sector = 0; sector < 8192; ++sector) {
    for (size_t i = 0; i < 4; ++i) disk.MbrEntry(sector, i, 0x83, 1 + i, 8000);
  }
  const std::string notes = NotesOf(disk.Bytes());
  EXPECT_NE(notes.find("the limit of 16384 nodes was reached"), std::string::npos) << notes;
}

}  // namespace
}  // namespace larkspur
