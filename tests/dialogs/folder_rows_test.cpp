// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/folder_rows.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "base/path_text.h"

namespace larkspur {
namespace {

using platform::FolderEntry;

const TypeWords kWords = {u"File folder", u"File"};

FolderEntry File(const char16_t* name, u64 bytes, u64 writtenAt = 0) {
  return {name, false, bytes, writtenAt, {}};
}
FolderEntry Folder(const char16_t* name, u64 writtenAt = 0) {
  return {name, true, 0, writtenAt, {}};
}

TEST(FolderRows, SayNameDateTypeAndSize) {
  FolderEntry file = File(u"disk.kvrsp", 1023);
  file.written = {2026, 3, 9, 7, 5, 1};
  EXPECT_EQ(ColumnText(file, FolderColumn::kName, kWords), u"disk.kvrsp");
  EXPECT_EQ(ColumnText(file, FolderColumn::kDate, kWords), u"09.03.2026 07:05:01");
  EXPECT_EQ(ColumnText(file, FolderColumn::kType, kWords), u"File");
  const FolderEntry folder = Folder(u"a");
  EXPECT_EQ(ColumnText(folder, FolderColumn::kType, kWords), u"File folder");
  EXPECT_EQ(ColumnText(folder, FolderColumn::kSize, kWords), u"");
}

TEST(FolderRows, CutSizesToKilobytes) {
  const struct {
    u64 bytes;
    const char16_t* text;
  } cases[] = {{0, u"0 KB"},
               {1023, u"0 KB"},
               {1024, u"1 KB"},
               {2047, u"1 KB"},
               {u64{5} << 40, u"5368709120 KB"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ColumnText(File(u"", c.bytes), FolderColumn::kSize, kWords), c.text) << c.bytes;
  }
}

TEST(FolderRows, StandInTheOrderOfTheirColumn) {
  const std::vector<FolderEntry> entries = {File(u"b", 300, 1), File(u"A", 100, 3),
                                            Folder(u"z", 2),    File(u"c", 200, 2),
                                            Folder(u"Y", 5),    File(u"a", 100, 4)};
  const struct {
    FolderColumn column;
    const char16_t* order;
  } cases[] = {{FolderColumn::kName, u"YzAabc"},
               {FolderColumn::kDate, u"zYbcAa"},
               {FolderColumn::kType, u"YzAabc"},
               {FolderColumn::kSize, u"YzAacb"}};
  for (const auto& c : cases) {
    std::vector<FolderEntry> sorted = entries;
    std::sort(sorted.begin(), sorted.end(), [&](const FolderEntry& one, const FolderEntry& other) {
      return CompareEntries(one, other, c.column) < 0;
    });
    std::u16string order;
    for (const FolderEntry& entry : sorted) order += entry.name;
    EXPECT_EQ(order, c.order) << static_cast<int>(c.column);
    for (const FolderEntry& entry : entries) EXPECT_EQ(CompareEntries(entry, entry, c.column), 0);
  }
}

TEST(FolderRows, NamesStandAsPeopleCount) {
  constexpr const char16_t* kOrdered[] = {u"",
                                          u"1",
                                          u"2",
                                          u"10 disks",
                                          u"A",
                                          u"a",
                                          u"a b",
                                          u"file",
                                          u"file02",
                                          u"file2",
                                          u"file2.b",
                                          u"File3",
                                          u"file10a",
                                          u"file10b",
                                          u"file99999999999999999999",
                                          u"file100000000000000000000",
                                          u"zoo"};
  for (const char16_t* one : kOrdered) {
    bool isPast = false;
    for (const char16_t* other : kOrdered) {
      if (one == other) isPast = true;
      const int order = CompareNames(one, other), back = CompareNames(other, one);
      EXPECT_EQ(order > 0, !isPast) << Utf8FromWide(one) << " " << Utf8FromWide(other);
      EXPECT_EQ(order<0, back> 0);
    }
  }
}

TEST(FolderRows, PatternsFitAsEverywhere) {
  const struct {
    const char16_t* name;
    const char16_t* pattern;
    bool fits;
  } cases[] = {
      {u"disk.kvrsp", u"*.kvrsp", true},
      {u"DISK.KVRSP", u"*.kvrsp", true},
      {u"disk.kvrsp.txt", u"*.kvrsp", false},
      {u".kvrsp", u"*.kvrsp", true},
      {u"kvrsp", u"*.kvrsp", false},
      {u"a.kvrsp.kvrsp", u"*.kvrsp", true},
      {u"anything", u"*", true},
      {u"", u"*", true},
      {u"no dot", u"*.*", true},
      {u"abc", u"a?c", true},
      {u"ac", u"a?c", false},
      {u"abc", u"abc", true},
      {u"abcd", u"abc", false},
      {u"aXbXc", u"a*b*c", true},
      {u"aXbX", u"a*b*c", false},
      {u"b.img", u"*.kvrsp;*.img", true},
      {u"b.bin", u"*.kvrsp;*.img", false},
      {u"b.bin", u"", false},
      {u"b.bin", u";;", false},
      {u"\u0416\u0443\u043A", u"\u0436*", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FitsPattern(c.name, c.pattern), c.fits)
        << Utf8FromWide(c.name) << " " << Utf8FromWide(c.pattern);
  }
}

TEST(FolderRows, HostilePatternsTakeNoTime) {
  std::u16string pattern;
  for (int i = 0; i < 100; ++i) pattern += u"*a";
  EXPECT_FALSE(FitsPattern(std::u16string(10000, u'a'), pattern + u"b"));
}

TEST(FolderRows, FoldersAreAlwaysShown) {
  EXPECT_TRUE(IsShown(Folder(u"any"), u"*.kvrsp"));
  EXPECT_TRUE(IsShown(File(u"a.kvrsp", 1), u"*.kvrsp"));
  EXPECT_FALSE(IsShown(File(u"a.txt", 1), u"*.kvrsp"));
}

}  // namespace
}  // namespace larkspur
