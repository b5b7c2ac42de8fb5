// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/notes.h"

#include <fmt/core.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "fakes/disk_builder.h"
#include "fakes/images.h"
#include "fakes/tree_text.h"
#include "imaging/tree_words.h"
#include "io/failing_io.h"
#include "partitions/detection.h"

namespace larkspur {
namespace {

using fakes::DiskBuilder;

constexpr u64 kSectors = 4096;
constexpr u64 kArraySectors = 2;

u32 SumOf(DiskBuilder& disk, u64 sector, size_t bytes) {
  return static_cast<u32>(crc32(0, disk.At(sector, 0, bytes), static_cast<uInt>(bytes)));
}

void PutHeader(DiskBuilder& disk, u64 own, u64 other, u64 array, u32 entries = 8) {
  disk.Text(own, 0, "EFI PART").Le(own, 12, 4, 92).Le(own, 24, 8, own).Le(own, 32, 8, other);
  disk.Le(own, 72, 8, array).Le(own, 80, 4, entries).Le(own, 84, 4, 128);
  disk.Le(own, 88, 4, SumOf(disk, array, size_t{entries} * 128)).Le(own, 16, 4, 0);
  disk.Le(own, 16, 4, SumOf(disk, own, 92));
}

// A GUID table of one swap partition in sectors 100 to 199, with its copy at `backup`.
DiskBuilder GptDisk(u64 backup = kSectors - 1) {
  DiskBuilder disk(kSectors);
  disk.Gpt(1, 1, 8).GptEntry(1, 0, "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F", 100, 199);
  const u64 copy = backup - kArraySectors;
  const size_t bytes = kArraySectors * kSectorBytes;
  std::copy_n(disk.At(2, 0, bytes), bytes, disk.At(copy, 0, bytes));
  PutHeader(disk, 1, backup, 2);
  PutHeader(disk, backup, 1, copy);
  return disk.MbrEntry(0, 0, 0xEE, 1, kSectors - 1).Text(107, 502, "SWAPSPACE2");
}

std::string AllNotes(const cPartTreeItem& node, const TreeNotes& notes) {
  std::string text;
  for (const std::string& line : NoteLines(notes.Of(node))) text += line + "\n";
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    text += AllNotes(*child, notes);
  }
  return text;
}

// The tree and its notes, with "(false)" where it was not understood.
std::string Told(cBaseIO* io, ScanOptions options = {}) {
  PartitionTree tree;
  TreeNotes notes;
  options.notes = &notes;
  const bool understood = BuildPartitionTree(tree.Head(), io, options);
  return fakes::TreeText(tree.Root()) + AllNotes(*tree.Root(), notes) +
         (understood ? "" : "(false)\n");
}

std::string Told(const DiskBuilder& disk, ScanOptions options = {}) {
  return Told(disk.Disk().get(), options);
}

Owned<cFailingIO> Failing(const DiskBuilder& disk, u64 bad) {
  return Owned<cFailingIO>(new cFailingIO(
      disk.Disk(), std::make_shared<const std::vector<SectorRange>>(
                       std::vector<SectorRange>{{0, bad}, {bad + 1, kSectors - bad - 1}})));
}

std::string ToldFromCache(const DiskBuilder& disk, u64 bad, bool isMissing) {
  const auto image = fakes::CreateImage(fakes::MakeStore(), kSectors);
  image->Write(0, disk.Bytes().data(), kSectors);
  isMissing ? image->MarkMissing(bad, 1) : image->MarkSectorBad(bad);
  return Told(image.get(), {.cache = image.get()});
}

bool Has(const std::string& text, std::string_view part) {
  return text.find(part) != text.npos;
}

TEST(Notes, WhatDidNotComeIsNeitherMissingNorDamagedNorDoubtful) {
  const DiskBuilder swap =
      DiskBuilder(kSectors).MbrEntry(0, 0, 0x82, 100, 2000).Text(107, 502, "SWAPSPACE2");
  const struct {
    DiskBuilder disk;
    u64 bad;
    const char* says;
    const char* shown;
  } kCases[] = {
      {GptDisk(), kSectors - 1, "primary table intact, backup table WHY\n", "100+99 130"},
      {GptDisk(), kSectors - 2, "primary table intact, backup table WHY\n", "100+99 130"},
      {GptDisk(), 2, "primary table WHY, backup table intact; all entries are shown", "100+99 130"},
      {GptDisk(), 3, "primary table WHY, backup table intact; all entries are shown", "100+99 130"},
      {GptDisk().Le(kSectors - 1, 88, 4, 1), 2, "primary table WHY, backup table damaged\n",
       "1+4095"},
      {GptDisk(), 9, "primary and backup table are intact", "100+99 130"},
      {GptDisk(), 107, "primary and backup table are intact", "100+99 130"},
      {swap, 9, "as its type says", "100+2000 130"},
      {swap, 107, "", "100+2000 130"},
  };
  for (const auto& test : kCases) {
    for (const char* kind : {"direct", "unreadable", "missing"}) {
      const bool isMissing = kind[0] == 'm';
      const std::string why = isMissing ? "not in the cache yet" : "unreadable";
      const std::string told = kind[0] == 'd' ? Told(Failing(test.disk, test.bad).get())
                                              : ToldFromCache(test.disk, test.bad, isMissing);
      std::string says = test.says;
      if (const size_t at = says.find("WHY"); at != says.npos) says.replace(at, 3, why);
      EXPECT_TRUE(Has(told, says)) << kind << test.bad << "\n" << told;
      EXPECT_TRUE(Has(told, test.shown)) << kind << test.bad << "\n" << told;
      EXPECT_FALSE(Has(told, "doubtful")) << kind << test.bad << "\n" << told;
      EXPECT_TRUE(Has(told, fmt::format("sector {} was needed and is {}\n", test.bad, why)))
          << kind << "\n"
          << told;
    }
  }
}

// An image that ends in the partition.
TEST(Notes, WhatLiesPastTheEndIsNotDoubtful) {
  EXPECT_FALSE(Has(Told(DiskBuilder(104).MbrEntry(0, 0, 0x82, 100, 2000)), "doubtful"));
  EXPECT_TRUE(Has(Told(DiskBuilder(kSectors).MbrEntry(0, 0, 0x82, 100, 2000)), "doubtful"));
}

TEST(Notes, ATableThatNothingLeadsToIsTold) {
  constexpr char kNotShown[] = "a GUID table that this tree does not show: primary table ";
  constexpr char kHelps[] = "; --backup-gpt builds the tree from the backup\n";
  const auto overwritten = [](DiskBuilder disk) { return disk.MbrEntry(0, 0, 0x83, 2000, 100); };
  DiskBuilder badSum = GptDisk(3000).Le(1, 16, 4, 1);
  DiskBuilder badCopy = GptDisk().Le(kSectors - 1, 16, 4, 1);
  const struct {
    const char* what;
    DiskBuilder disk;
    std::string says;
    bool backupHelps;
  } kCases[] = {
      {"MBR", overwritten(GptDisk()), "intact, backup table intact", true},
      {"MBR, and the disk has grown", overwritten(GptDisk(3000)), "intact, backup table intact",
       true},
      {"MBR, no copy", overwritten(badCopy), "intact, backup table damaged\n", false},
      {"all", overwritten(GptDisk().Text(1, 0, "????????")), "missing, backup table intact", true},
      {"header, and the disk has grown", badSum, "damaged, backup table intact", true},
  };
  for (const auto& test : kCases) {
    const bool isShown = test.disk.Bytes()[450] == 0xEE;
    const std::string told = Told(test.disk);
    EXPECT_TRUE(Has(told, (isShown ? "primary table " : kNotShown) + test.says))
        << test.what << told;
    EXPECT_EQ(Has(told, kHelps), test.backupHelps) << test.what << told;
    const std::string backup = Told(test.disk, {.fromBackupGpt = true});
    EXPECT_EQ(Has(backup, "100+99 130"), test.backupHelps) << test.what << backup;
  }
  // A table inside a partition has a copy, too, but not one that can be used.
  DiskBuilder inner = GptDisk(3000).Le(2, 0, 1, 0xFF);
  DiskBuilder outer(2 * kSectors);
  outer.MbrEntry(0, 0, 0x83, kSectors, kSectors);
  std::copy(inner.Bytes().begin() + kSectorBytes, inner.Bytes().end(),
            outer.At(kSectors + 1, 0, inner.Bytes().size() - kSectorBytes));
  const std::string told = Told(outer);
  EXPECT_TRUE(Has(told, "primary table damaged, backup table intact\n")) << told;
}

TEST(Notes, ATableThatIsTooLongIsIntactAndLimited) {
  constexpr u32 kEntries = 16385;
  DiskBuilder disk = GptDisk();
  DiskBuilder large(10000);
  std::copy_n(disk.Bytes().begin(), 4 * kSectorBytes, large.At(0, 0, 4 * kSectorBytes));
  PutHeader(large, 1, 9999, 2, kEntries);
  PutHeader(large, 9999, 1, 5000, kEntries);
  const std::string told = Told(large);
  EXPECT_TRUE(Has(told, "primary and backup table are intact")) << told;
  EXPECT_TRUE(Has(told, "the limit of 16384 entries of a GUID table was reached")) << told;
}

TEST(Notes, APartitionThatEndsBeforeItStartsIsTold) {
  DiskBuilder disk = DiskBuilder(kSectors).Gpt(1, 1, 4);
  disk.GptEntry(1, 0, "0FC63DAF-8483-4772-8E79-3D69D8477DE4", 500, 400);
  EXPECT_TRUE(Has(Told(disk), "\nLinux filesystem, last sector 400, before its first\n"))
      << Told(disk);
  disk.Le(2, 48, 8, 4);
  EXPECT_TRUE(Has(Told(disk), "\nLinux filesystem, attributes 0x4, last sector 400")) << Told(disk);
}

// Where the entries lead when they count in 512 bytes may lie what speaks for that.
TEST(Notes, WhatDidNotComeMovesNoPartition) {
  DiskBuilder disk = DiskBuilder(kSectors).MbrEntry(0, 0, 7, 256, 400);
  disk.Text(2048, 3, "NTFS    ").Le(2048, 510, 2, 0xAA55);
  EXPECT_TRUE(Has(Told(disk), "2048+3200 7"));
  EXPECT_TRUE(Has(Told(Failing(disk, 256).get()), "256+400 7"));
  EXPECT_TRUE(Has(ToldFromCache(disk, 256, true), "256+400 7"));
}

// What a bad sector hides from a host, people see.
TEST(Notes, PeopleSeeATableAroundABadSector) {
  const DiskBuilder disk = DiskBuilder(kSectors)
                               .MbrEntry(0, 0, 5, 100, 1000)
                               .MbrEntry(0, 1, 0x83, 2000, 100)
                               .MbrEntry(100, 0, 0x83, 10, 100)
                               .MbrEntry(100, 1, 5, 400, 100)
                               .MbrEntry(500, 0, 0x83, 10, 100);
  const std::string root = "0+4096 32764 \"[unknown]\"";
  const std::string container = " mbr\n  100+1000 5 \"Extended\"\n";
  const std::string drive = "    110+100 131 \"Linux native (unclassified)\" {offset 10}\n";
  const std::string second = "    510+100 131 \"Linux native (unclassified)\" {offset 10}\n";
  const std::string primary = "  2000+100 131 \"Linux native (unclassified)\"\n";
  const struct {
    u64 bad;
    std::string host;
    std::string people;
  } kCases[] = {
      {9, "\n", container + drive + second + primary},
      {100, container, container + primary},
      {500, container + drive, container + drive + primary},
  };
  for (const auto& test : kCases) {
    const auto failing = Failing(disk, test.bad);
    EXPECT_EQ(fakes::TreeText(failing.get()), root + test.host + "(false)\n");
    const std::string told = Told(failing.get());
    EXPECT_TRUE(told.starts_with(root + test.people)) << told;
    EXPECT_TRUE(Has(told, fmt::format("sector {} was needed and is unreadable\n", test.bad)));
    EXPECT_TRUE(told.ends_with("(false)\n")) << told;
  }
  // A member's superblock of eight sectors, one of them bad.
  DiskBuilder member(kSectors);
  member.Le(3968, 0, 4, 0xA92B4EFC).Le(3968, 40, 4, 2).Le(3968, 28, 4, 1).Le(3968, 32, 4, 1000);
  const auto failing = Failing(member, 3973);
  EXPECT_FALSE(Has(fakes::TreeText(failing.get()), "raid1"));
  EXPECT_TRUE(Has(Told(failing.get()), "raid1")) << Told(failing.get());
}

}  // namespace
}  // namespace larkspur
