// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/storages.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "base/heap.h"
#include "base/path_text.h"
#include "fakes/recording_source.h"
#include "fakes/temp_folder.h"
#include "imaging/cache.h"
#include "io/read_once_io.h"
#include "platform/shared_heap.h"

namespace larkspur::host {
namespace {

constexpr size_t kDiskBytes = 64 * kSectorBytes;

class StoragesTest : public ::testing::Test {
 protected:
  // Nodes of the list lie on the heap that a host shares with its modules.
  StoragesTest() { platform::SharedHeapHandleOrNew(); }

  std::u16string MakeDisk(const std::u16string& name, size_t bytes = kDiskBytes) {
    const std::u16string path = folder.File(name);
    EXPECT_TRUE(fakes::WriteWholeFile(path, std::vector<u8>(bytes)));
    return path;
  }

  size_t Open(const std::u16string& path) {
    auto opened = OpenStorage(path, {});
    const auto added = opened ? storages.Add(std::move(*opened)) : std::nullopt;
    return added ? added->index : kNowhere;
  }

  // What a module does: appends a node and tells the list.
  void MakeReadOnce(Storage& source, const std::u16string& cachePath) {
    const auto cache = OpenOrCreateCache(cachePath, source.path, source.sectors);
    ASSERT_TRUE(cache);
    Owned<cReadOnceIO> view(new cReadOnceIO);
    ASSERT_TRUE(view->Attach(cache->image.get(), source.IO()));
    auto* node = static_cast<HostStorageNode*>(HeapAllocate(sizeof(HostStorageNode)));
    *node = {view.release(), nullptr, nullptr};
    (storages.m_tail ? storages.m_tail->next : storages.m_head) = node;
    storages.m_tail = node;
    storages.OnNodeAdded(node);
  }

  // The list as a module walks it.
  std::vector<cBaseIO*> Walk() const {
    std::vector<cBaseIO*> found;
    const HostStorageNode* last = nullptr;
    for (const HostStorageNode* node = storages.m_head; node; node = node->next) {
      found.push_back(node->storage);
      last = node;
    }
    EXPECT_EQ(storages.m_tail, last);
    return found;
  }

  fakes::TempFolder folder;
  cStorages storages;
};

TEST_F(StoragesTest, TheListStaysLinkedWhateverIsClosed) {
  for (const size_t closed : {0u, 1u, 2u}) {
    for (const char16_t* name : {u"a", u"b", u"c"}) Open(MakeDisk(name));
    ASSERT_EQ(storages.Count(), 3u);
    EXPECT_EQ(Walk().size(), 3u);
    storages.Close(closed);
    EXPECT_EQ(storages.Find(storages.At(1).IO()), &storages.At(1));
    EXPECT_EQ(Walk(), (std::vector<cBaseIO*>{storages.At(0).IO(), storages.At(1).IO()}));
    while (storages.Count() > 0) storages.Close(0);
    EXPECT_TRUE(Walk().empty());
  }
}

TEST_F(StoragesTest, AStorageOpensOnce) {
  const std::u16string path = MakeDisk(u"disk");
  EXPECT_EQ(Open(path), 0u);
  const auto again = storages.Add(std::move(*OpenStorage(path, {})));
  ASSERT_TRUE(again);
  EXPECT_FALSE(again->isNew);
  EXPECT_EQ(again->index, 0u);
  EXPECT_EQ(storages.Count(), 1u);
  EXPECT_EQ(storages.At(0).title, u"disk");
}

TEST_F(StoragesTest, ADriveIsReadWhenTheUserSaysSo) {
  for (const StorageKind kind : {StorageKind::kImage, StorageKind::kDrive}) {
    const auto script = std::make_shared<fakes::SourceScript>(64);
    OpenedStorage opened;
    opened.io.reset(fakes::SourceOn(script).release());
    opened.kind = kind;
    const auto added = storages.Add(std::move(opened));
    ASSERT_TRUE(added && added->isNew);
    const size_t index = added->index;
    EXPECT_EQ(script->requests == 0, kind == StorageKind::kDrive);
    EXPECT_EQ(storages.At(index).tree.empty(), kind == StorageKind::kDrive);
    storages.LetRead(index);
    EXPECT_GT(script->requests, 0u);
    EXPECT_FALSE(storages.At(index).tree.empty());
  }
}

TEST_F(StoragesTest, WhatAModuleMadeHasAMapAndKnowsItsSource) {
  const size_t disk = Open(MakeDisk(u"disk"));
  MakeReadOnce(storages.At(disk), folder.File(u"c.kvrsp"));
  const auto [index, isNew] = storages.TakeMade({folder.File(u"c.kvrsp"), storages.At(disk).IO()});
  ASSERT_TRUE(isNew);
  Storage& made = storages.At(index);
  ASSERT_TRUE(made.map);
  const auto files = storages.Files();  // no output takes their place
  for (const char16_t* name : {u"disk", u"c.kvrsp", u"c.kvrsp.log"}) {
    EXPECT_NE(std::find(files.begin(), files.end(), folder.File(name)), files.end());
  }
  EXPECT_EQ(made.map->GetSectorCount(), 64u);
  EXPECT_TRUE(made.source.IsThere());
  // The disk is cut while both are shown; closing the disk does not make the storage forget it.
  std::filesystem::resize_file(folder.Path() / "disk", kDiskBytes / 2);
  storages.Close(disk);
  EXPECT_FALSE(storages.At(0).source.IsThere());
}

TEST_F(StoragesTest, ACacheIsNotUsedByTwoStorages) {
  const size_t one = Open(MakeDisk(u"one")), other = Open(MakeDisk(u"other"));
  const std::u16string cache = folder.File(u"c.kvrsp");
  MakeReadOnce(storages.At(one), cache);
  ASSERT_TRUE(storages.TakeMade({cache, storages.At(one).IO()}).isNew);
  for (const size_t source : {one, other}) {
    MakeReadOnce(storages.At(source), cache);
    const auto again = storages.TakeMade({cache, storages.At(source).IO()});
    EXPECT_FALSE(again.isNew);
    EXPECT_EQ(again.index, 2u);
    EXPECT_EQ(Walk().size(), 3u);
  }
}

TEST_F(StoragesTest, ACacheAloneIsAStorage) {
  const size_t disk = Open(MakeDisk(u"disk"));
  MakeReadOnce(storages.At(disk), folder.File(u"c.kvrsp"));
  ASSERT_TRUE(storages.TakeMade({folder.File(u"c.kvrsp"), nullptr}).isNew);
  const size_t cache = Open(folder.File(u"c.kvrsp"));
  ASSERT_EQ(cache, 2u);
  EXPECT_EQ(storages.At(cache).kind, StorageKind::kCache);
  EXPECT_TRUE(storages.At(cache).map);
  EXPECT_NE(storages.At(cache).tree[0].facts.find(u"not in the cache yet"), std::u16string::npos);
}

TEST_F(StoragesTest, WhatDoesNotOpenIsNamedWithTheReason) {
  const std::u16string disk = MakeDisk(u"disk"), zeros = MakeDisk(u"zeros.kvrsp");
  Open(disk);
  MakeReadOnce(storages.At(0), folder.File(u"c.kvrsp"));
  std::vector<u8> bytes = fakes::ReadWholeFile(folder.File(u"c.kvrsp"));
  std::fill(bytes.begin() + 8, bytes.begin() + 48, u8{0xFF});
  ASSERT_TRUE(fakes::WriteWholeFile(folder.File(u"damaged"), bytes));
  const struct {
    std::u16string path, mapfile, named, reason;
  } rows[] = {
      {zeros, {}, zeros, u"This is not a cache, or its header is damaged; 'larkspur check'"},
      {folder.File(u"damaged"), {}, folder.File(u"damaged"), u"header is damaged"},
      {folder.File(u"absent"), {}, folder.File(u"absent"), u"It cannot be opened for reading:\n"},
      {MakeDisk(u"empty", 0), {}, folder.File(u"empty"), u"no whole sector"},
      {MakeDisk(u"small", 511), {}, folder.File(u"small"), u"no whole sector"},
      {folder.Path().u16string(), {}, folder.Path().u16string(), u"is a folder"},
      {disk, folder.File(u"no.map"), folder.File(u"no.map"), u"The mapfile cannot be read:\n"},
      {disk, zeros, zeros, u"Line 1: "},
  };
  for (const auto& row : rows) {
    const auto opened = OpenStorage(row.path, row.mapfile);
    ASSERT_FALSE(opened) << Utf8FromWide(row.path);
    EXPECT_TRUE(opened.error().starts_with(row.named + u"\n")) << Utf8FromWide(opened.error());
    EXPECT_NE(opened.error().find(row.reason), std::u16string::npos)
        << Utf8FromWide(opened.error());
  }
  EXPECT_FALSE(OpenStorage(MakeDisk(u"odd", 1000), {})->notice.empty());
  std::error_code noLinks;  // as under Wine
  std::filesystem::create_symlink("nowhere", folder.Path() / "link", noLinks);
  if (noLinks) return;
  EXPECT_NE(OpenStorage(folder.File(u"link"), {}).error().find(u"This is a link"),
            std::u16string::npos);
}

}  // namespace
}  // namespace larkspur::host
