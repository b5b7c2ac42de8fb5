// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The order in which an image changes its file, and what changes it beside Write: room made
// beforehand, and statuses by ranges. And what is said where the image's own file cannot be read.

#include <algorithm>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/read_once_rig.h"
#include "fakes/temp_folder.h"
#include "io/flat_io.h"

namespace larkspur {
namespace {

constexpr u64 kRecordBytes = 129 * kSectorBytes;

using fakes::ChangesOf;

void Store(cKVRSparseIO* image, u64 first, u32 count) {
  ASSERT_EQ(fakes::WritePattern(image, first, count), count);
}

TEST(SparseOrder, GrowthThenIndexThenDataThenMap) {
  const auto store = fakes::MakeStore();
  Owned<cKVRSparseIO> image;
  EXPECT_EQ(ChangesOf(store.get(), [&] { image = fakes::CreateImage(store, 1000); }),
            "G:1024 W:512+512 W:0+28");
  EXPECT_EQ(ChangesOf(store.get(), [&] { fakes::WritePattern(image.get(), 300, 1); }),
            "G:67072 W:520+4 W:24064+512 W:1024+128");
  EXPECT_EQ(ChangesOf(store.get(), [&] { fakes::WritePattern(image.get(), 301, 2); }),
            "W:24576+1024 W:1024+128");
  EXPECT_EQ(ChangesOf(store.get(), [&] { fakes::WritePattern(image.get(), 301, 2); }),
            "W:24576+1024")
      << "a map that stays is not written";
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->MarkSectorBad(305); }), "W:1024+128");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->MarkSectorBad(305); }), "");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->MarkSectorBad(0); }),
            "G:133120 W:512+4 W:67072+128");
}

TEST(SparseOrder, NeighbouringNewBlocksAreIndexedAtOnce) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  EXPECT_EQ(ChangesOf(store.get(), [&] { fakes::WritePattern(image.get(), 127, 130); }),
            "G:199168 W:512+12 W:66560+512 W:1024+128 W:67584+65536 W:67072+128 "
            "W:133632+512 W:133120+128");
}

TEST(SparseRoom, IsMadeForManyBlocksByOneStepOfTheIndex) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  Store(image.get(), 300, 1);
  EXPECT_EQ(ChangesOf(store.get(), [&] { EXPECT_TRUE(image->MakeRoom(384, 500)); }),
            "G:331264 W:524+16");
  EXPECT_EQ(ChangesOf(store.get(), [&] { EXPECT_TRUE(image->MakeRoom(384, 500)); }), "");
  EXPECT_EQ(ChangesOf(store.get(), [&] { EXPECT_TRUE(image->MakeRoom(300, 100)); }), "")
      << "they have records";
  EXPECT_EQ(ChangesOf(store.get(), [&] { Store(image.get(), 384, 1); }), "W:67584+512 W:67072+128");
  EXPECT_TRUE(image->MakeRoom(1000, 5)) << "past the end nothing is needed";
  EXPECT_EQ(fakes::Extents(image.get()),
            "0+300 missing, 300+1 present, 301+83 missing, 384+1 present, 385+615 missing");
}

TEST(SparseRoom, ThatIsNotThereIsSaidAndLeavesTheRest) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  store->limitBytes = store->bytes.size() + 2 * kRecordBytes;
  EXPECT_FALSE(image->MakeRoom(0, 1000));
  EXPECT_TRUE(image->MakeRoom(0, 256)) << "a smaller range";
  Store(image.get(), 0, 256);
}

TEST(SparseRoom, IsSetAsideInAFile) {
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  const cNamedFileResource path(folder.File(u"disk.kvrsp"));
  Owned<cFlatIO> file(new cFlatIO);
  ASSERT_EQ(file->Create(&path, 0, true), 0u);
  cFlatIO* const flat = file.get();
  const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
  cKVRSparseIO image;
  ASSERT_EQ(image.Create(&resource, 100000, true), 100000u);
  const u64 before = flat->GetByteSize();
  EXPECT_TRUE(image.MakeRoom(0, 64 * 128));
  EXPECT_EQ(flat->GetByteSize(), before + 64 * kRecordBytes);
  EXPECT_TRUE(flat->ReserveRoom(0, flat->GetSectorCount()));
  EXPECT_TRUE(image.MakeRoom(0, 64 * 128));
  EXPECT_FALSE(flat->ReserveRoom(0, u64{1} << 52)) << "no disk has that much";
}

TEST(SparseMarks, ChangeOnlyTheStatusThatTheyAreFor) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 600);
  Store(image.get(), 100, 100);
  EXPECT_TRUE(image->MarkUnreadable(90, 50));
  EXPECT_EQ(fakes::Extents(image.get()),
            "0+90 missing, 90+10 unreadable, 100+100 present, 200+400 missing");
  EXPECT_TRUE(image->MarkMissing(0, 150));
  EXPECT_EQ(fakes::Extents(image.get()),
            "0+90 missing, 90+10 unreadable, 100+50 missing, 150+50 present, 200+400 missing");
  EXPECT_EQ(ChangesOf(store.get(), [&] { EXPECT_TRUE(image->MarkMissing(300, 300)); }), "")
      << "blocks without a record get none";
  EXPECT_EQ(ChangesOf(store.get(), [&] { EXPECT_TRUE(image->MarkUnreadable(256, 300)); }),
            "G:331264 W:520+12 W:133120+128 W:199168+128 W:265216+128")
      << "each map once";
  EXPECT_TRUE(image->MarkUnreadable(700, 5)) << "past the end there is nothing to do";
}

TEST(SparseMarks, StoreOverTakesAMarkBack) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 300);
  ASSERT_TRUE(image->MarkUnreadable(120, 20));
  const std::vector<u8> data = fakes::Pattern(130, 4);
  EXPECT_EQ(image->Write(130, data.data(), 4), 4u);
  EXPECT_EQ(fakes::Extents(image.get()), "0+120 missing, 120+20 unreadable, 140+160 missing");
  EXPECT_EQ(image->StoreOver(130, data.data(), 4), 4u);
  EXPECT_EQ(fakes::Extents(image.get()),
            "0+120 missing, 120+10 unreadable, 130+4 present, 134+6 unreadable, 140+160 missing");
}

TEST(SparseMarks, ABlockThatWasCompleteIsSeenToBeSoNoMore) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 128);
  Store(image.get(), 0, 128);
  const Owned<cKVRSparseIO> clone(static_cast<cKVRSparseIO*>(image->Clone()));
  EXPECT_EQ(fakes::Presence(clone.get(), 10, 3), "111");
  ASSERT_TRUE(image->MarkMissing(11, 1));
  EXPECT_EQ(fakes::Presence(clone.get(), 10, 3), "101");
}

TEST(SparseOrder, WhatIsAnsweredAsStoredIsThereWhateverOperationFails) {
  for (const bool tears : {false, true}) {
    bool happened = true;
    for (u64 operation = 1; happened; ++operation) {
      const auto store = fakes::StoreWithImage(900, 128);
      const auto image = fakes::OpenImage(store);
      store->operations = 0;
      store->failAt = operation;
      store->failForGood = true;
      store->tearWrites = tears;
      const u32 first = fakes::WritePattern(image.get(), 100, 300);
      const bool isMarked = image->MarkSectorBad(700);
      const u32 second = fakes::WritePattern(image.get(), 350, 200);
      happened = store->operations >= operation;
      store->failAt = 0;
      const std::string found = fakes::Statuses(fakes::OpenImage(store).get(), 0, 900);
      EXPECT_EQ(found.substr(100, first), std::string(first, 'p')) << operation;
      EXPECT_EQ(found.substr(350, second), std::string(second, 'p')) << operation;
      EXPECT_TRUE(!isMarked || found[700] == 'u') << operation;
      EXPECT_EQ(happened, first < 300 || !isMarked || second < 200) << "and a failure is told";
    }
  }
}

TEST(UnreadableCache, TakesNoNewRecordWhileAnyEntryMayNameIt) {
  const auto store = fakes::MakeStore();
  Store(fakes::CreateImage(store, 1000).get(), 0, 300);
  store->bytes.resize(store->bytes.size() - kRecordBytes);
  store->RefuseByte(520);
  const auto image = fakes::OpenImage(store);
  EXPECT_EQ(fakes::WritePattern(image.get(), 900, 1), 0u);
}

TEST(CutCache, GivesNoNumberThatTheIndexNamesToAnotherBlock) {
  for (u32 lost = 1; lost <= 3; ++lost) {
    const auto store = fakes::MakeStore();
    Store(fakes::CreateImage(store, 1000).get(), 0, 384);
    store->bytes.resize(store->bytes.size() - lost * kRecordBytes);
    const auto image = fakes::OpenImage(store);
    Store(image.get(), 600, 200);
    EXPECT_FALSE(image->SurveyIndex().sharing);
    for (u64 sector = 0; sector < 384; ++sector) {
      if (fakes::Statuses(image.get(), sector, 1) != "p") continue;
      u8 bytes[kSectorBytes];
      image->SetPosition(sector);
      ASSERT_EQ(image->Read(bytes, 1), 1u);
      ASSERT_TRUE(fakes::IsPattern(sector, bytes)) << sector;
    }
  }
}

TEST(SurveyIndex, FindsTwoBlocksWithOneRecord) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  Store(image.get(), 0, 1000);
  const auto survey = [&] { return image->SurveyIndex(); };
  EXPECT_EQ(survey().records, 8u);
  EXPECT_EQ(survey().recordEnd, 8u);
  EXPECT_FALSE(survey().sharing);
  for (u32 block = 0; block < 8; ++block) {
    const std::vector<u8> whole = store->bytes;
    StoreLe32(&store->bytes[512 + 4 * block], (block + 3) % 8);
    EXPECT_EQ(survey().sharing, std::max<u64>(block, (block + 3) % 8));
    store->bytes = whole;
  }
  StoreLe32(&store->bytes[512], kNoRecord);
  EXPECT_FALSE(survey().sharing) << "an unused record is none";
}

}  // namespace
}  // namespace larkspur
