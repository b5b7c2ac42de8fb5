// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/folders.h"

#include <ctime>
#include <map>

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"

namespace larkspur {
namespace {

using platform::FolderEntry;

TEST(Folders, AreMadeAndListed) {
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  platform::cFolders& folders = platform::SystemFolders();
  const std::u16string sub = folder.File(u"\u0416 sub");
  ASSERT_TRUE(fakes::WriteWholeFile(folder.File(u"a file"), std::vector<u8>(1500)));
  EXPECT_TRUE(folders.Make(sub));
  EXPECT_FALSE(folders.Make(sub));
  EXPECT_FALSE(folders.Make(folder.File(u"none") + u"/sub"));
  EXPECT_EQ(folders.KindOf(sub), platform::PathKind::kFolder);

  std::map<std::u16string, FolderEntry> entries;
  EXPECT_TRUE(folders.Visit(folder.Path().u16string(), [&](const FolderEntry& entry) {
    return entries.emplace(entry.name, entry).second;
  }));
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_TRUE(entries[u"\u0416 sub"].isFolder);
  EXPECT_FALSE(entries[u"a file"].isFolder);
  EXPECT_EQ(entries[u"a file"].sizeBytes, 1500u);
  EXPECT_GE(entries[u"a file"].written.year, 2026);
}

TEST(Folders, SayWhetherAllWasSeen) {
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  platform::cFolders& folders = platform::SystemFolders();
  const std::u16string path = folder.Path().u16string();
  const auto any = [](const FolderEntry&) { return true; };
  EXPECT_TRUE(folders.Visit(path, any));
  EXPECT_FALSE(folders.Visit(folder.File(u"none"), any));
  ASSERT_TRUE(fakes::WriteWholeFile(folder.File(u"one"), {1}));
  ASSERT_TRUE(fakes::WriteWholeFile(folder.File(u"two"), {1}));
  int seen = 0;
  EXPECT_FALSE(folders.Visit(path, [&](const FolderEntry&) { return ++seen < 1; }));
  EXPECT_EQ(seen, 1);
}

}  // namespace
}  // namespace larkspur
