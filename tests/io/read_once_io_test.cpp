// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/read_once_io.h"

#include <gtest/gtest.h>

#include "fakes/read_once_rig.h"
#include "fakes/temp_folder.h"
#include "io/cache_lock.h"

namespace larkspur {
namespace {

using fakes::ReadOnceRig;

TEST(ReadOnceIO, AsksTheSourceTheFirstTimeOnly) {
  ReadOnceRig rig(1000);
  rig.inPieces = false;
  ASSERT_TRUE(rig.Open());
  EXPECT_EQ(rig.Read(100, 300), 300u);
  EXPECT_EQ(rig.script->requests, 1u) << "one run, one request";
  EXPECT_EQ(rig.Read(100, 300), 300u);
  EXPECT_EQ(rig.script->requests, 1u);
  EXPECT_EQ(rig.Read(50, 400), 400u);
  EXPECT_EQ(rig.script->requests, 3u) << "the two runs around what is there";
  EXPECT_EQ(rig.script->AskedMoreThan(1), "");
  EXPECT_EQ(rig.Statuses(), std::string(50, '.') + std::string(400, 'p') + std::string(550, '.'));
}

TEST(ReadOnceIO, AFailedRunIsAskedAgainSectorBySector) {
  ReadOnceRig rig(1000);
  rig.inPieces = false;
  rig.script->failing = {205};
  ASSERT_TRUE(rig.Open());
  EXPECT_EQ(rig.Read(200, 10), 10u) << "the source's failures do not shorten the answer";
  EXPECT_EQ(rig.script->askedTogether[205], 1u);
  EXPECT_EQ(rig.script->askedAlone[205], 1u);
  EXPECT_EQ(rig.script->requests, 11u);
  EXPECT_EQ(rig.Statuses().substr(199, 12), ".pppppupppp.");
  EXPECT_EQ(rig.Read(190, 30), 30u);
  EXPECT_EQ(rig.script->Asked(205), 2u) << "never again";
  EXPECT_EQ(rig.view->Image()->GetSectorCount(), 1000u);
}

TEST(ReadOnceIO, AnswersItsSlots) {
  ReadOnceRig rig(1000);
  rig.inPieces = false;
  ASSERT_TRUE(rig.Open());
  cReadOnceIO& view = *rig.view;
  EXPECT_EQ(view.GetTypeId(), 22u);
  EXPECT_EQ(view.GetResourceKind(), 0u);
  EXPECT_FALSE(view.IsSparse());
  EXPECT_TRUE(view.QueryCapability()) << "the source's answer";
  EXPECT_EQ(view.GetSectorCount(), 1000u);
  EXPECT_EQ(std::u16string(view.GetName()), u"{Recorder}");
  EXPECT_EQ(view.Path().View(), u"memory:disk") << "the image's";
  EXPECT_EQ(view.SetPosition(2000), 1000u);
  EXPECT_EQ(rig.Read(1000, 5), 0u);
  EXPECT_EQ(view.SetPosition(7), 7u);
  u32 geometry[3];
  EXPECT_TRUE(view.GetGeometry(geometry));
  EXPECT_EQ(geometry[2], 255u);
  EXPECT_EQ(fakes::WritePattern(&view, 0, 1), 0u);
  EXPECT_FALSE(view.SetReadOnly(false));
}

TEST(ReadOnceIO, DescribesItsSourceInBraces) {
  ReadOnceRig rig(10);
  ASSERT_TRUE(rig.Open());
  const struct {
    i32 capacity;
    bool answer;
    std::u16string text;
  } cases[] = {{100, true, u"{Recorder}"}, {11, true, u"{Recorde}"}, {12, true, u"{Recorder}"},
               {4, true, u"{}"},           {3, false, u"?"},         {2, false, u"?"},
               {0, false, u"?"},           {-5, false, u"?"}};
  for (const auto& c : cases) {
    char16_t text[100] = u"?";
    EXPECT_EQ(rig.view->GetDescription(text, c.capacity), c.answer) << c.capacity;
    if (c.answer) {
      EXPECT_EQ(std::u16string(text), c.text) << c.capacity;
    }
  }
  rig.view->Close();
  char16_t text[100];
  EXPECT_FALSE(rig.view->GetDescription(text, 100));
}

TEST(ReadOnceIO, IsEmptyUntilAttachedAndAfterClose) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 100);
  const auto source = fakes::SourceOn(std::make_shared<fakes::SourceScript>(100));
  cReadOnceIO view;
  u8 sector[kSectorBytes];
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(view.GetSectorCount(), 0u);
    EXPECT_EQ(view.Read(sector, 1), 0u);
    EXPECT_EQ(view.SetPosition(5), 0u);
    EXPECT_FALSE(view.QueryCapability());
    EXPECT_FALSE(view.IsSameAs(&view));
    EXPECT_FALSE(Owned<cBaseIO>(view.Clone()));
    EXPECT_FALSE(view.Attach(nullptr, source.get()));
    EXPECT_FALSE(view.Attach(image.get(), nullptr));
    EXPECT_TRUE(view.Attach(image.get(), source.get()));
    EXPECT_EQ(view.Read(sector, 1), 1u);
    if (round == 0) {
      EXPECT_FALSE(view.Attach(image.get(), nullptr)) << "leaves it empty";
    } else {
      view.Close();
    }
  }
  cKVRSparseIO closed;
  EXPECT_FALSE(view.Attach(&closed, source.get())) << "an image that cannot be cloned";
}

TEST(ReadOnceIO, ClonesAreTheSameStorage) {
  ReadOnceRig rig(500), other(500);
  rig.inPieces = other.inPieces = false;
  ASSERT_TRUE(rig.Open());
  ASSERT_TRUE(other.Open());
  const Owned<cBaseIO> clone(rig.view->Clone());
  ASSERT_TRUE(clone);
  EXPECT_TRUE(rig.view->IsSameAs(clone.get()));
  EXPECT_FALSE(rig.view->IsSameAs(other.view.get())) << "another source";
  EXPECT_FALSE(rig.view->IsSameAs(nullptr));
  EXPECT_FALSE(rig.view->IsSameAs(rig.view->Image()));
  EXPECT_EQ(rig.Read(0, 100), 100u);
  std::vector<u8> buffer(150 * kSectorBytes);
  EXPECT_EQ(clone->Read(buffer.data(), 150), 150u);
  EXPECT_EQ(rig.script->AskedMoreThan(1), "") << "a clone knows what the other stored";
}

TEST(ReadOnceIO, AFailingStoreIsPassedOver) {
  ReadOnceRig rig(1000);
  rig.script->failing = {350};
  ASSERT_TRUE(rig.Open());
  rig.store->limitBytes = rig.store->bytes.size();
  EXPECT_EQ(rig.Read(0, 1000), 1000u);
  EXPECT_EQ(rig.Statuses(), std::string(1000, '.'));
}

TEST(ReadOnceIO, WhatItStoresIsFlushedAtTheLatestWhenItCloses) {
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  const auto lock = std::make_shared<CacheLock>(
      platform::OwnedFile(platform::CreateEmptyFile(folder.File(u"disk.kvrsp").c_str())),
      folder.File(u"disk.kvrsp"));
  ReadOnceRig rig(1000);
  rig.inPieces = false;
  rig.script->failing = {500};
  ASSERT_TRUE(rig.Open());
  rig.view->KeepLock(lock);
  u8 room[20 * kSectorBytes];
  const struct {
    const char* what;
    std::function<void()> work;
    bool stores;
  } steps[] = {
      {"nothing yet", [] {}, false},
      {"a run", [&] { rig.Read(0, 10); }, true},
      {"what is there", [&] { rig.Read(0, 10); }, false},
      {"a mark", [&] { rig.Read(500, 1); }, true},
      {"single sectors", [&] { rig.Read(498, 4); }, true},
      {"a clone's run", [&] { Owned<cBaseIO>(rig.view->Clone())->Read(room, 20); }, false},
      {"no room", [&] { rig.store->limitBytes = 0, rig.Read(600, 1); }, false},
      {"closing", [&] { rig.store->limitBytes = ~u64{0}, rig.Read(600, 1), rig.view->Close(); },
       false},
  };
  for (const auto& step : steps) {
    step.work();
    EXPECT_EQ(lock->SyncNoted(), step.stores) << step.what;
  }
}

TEST(ReadOnceIO, AnImageThatCannotBeReadToItsEndDoesNotSendUsBackToTheSource) {
  ReadOnceRig rig(1000);
  ASSERT_TRUE(rig.Open());
  EXPECT_EQ(rig.Read(384, 128), 128u);  // block 3, record 0
  EXPECT_EQ(rig.Read(256, 1), 1u);      // block 2, record 1
  rig.script->Forget();
  // The file loses the data of its last record, but not the map, which says nothing of sector 257.
  rig.store->bytes.resize((2 + 129 + 1) * kSectorBytes);
  std::vector<u8> buffer(384 * kSectorBytes);
  rig.view->SetPosition(128);
  EXPECT_EQ(rig.view->Read(buffer.data(), 384), 128u);
  EXPECT_EQ(rig.script->Asked(384), 0u) << "stored after the hole";
}

}  // namespace
}  // namespace larkspur
