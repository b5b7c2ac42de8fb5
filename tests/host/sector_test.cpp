// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A sector as the host shows it, and the thread that fetches it.

#include <gtest/gtest.h>

#include "host/model/sector_reader.h"
#include "host/model/sector_view.h"
#include "host/storage_rig.h"
#include "platform/clock.h"

namespace larkspur::host {
namespace {

constexpr u64 kSectors = 300;

bool ShowsPattern(const SectorView& view) {
  return fakes::IsPattern(view.sector, view.bytes.data());
}

TEST(SectorViewTest, AnImageShowsWhatItGives) {
  StorageRig rig(kSectors);
  rig.script->failing = {7};
  const Storage image = rig.Image();
  EXPECT_EQ(LookAtSector(image, 0).state, SectorState::kData);
  EXPECT_TRUE(ShowsPattern(LookAtSector(image, kSectors - 1)));
  EXPECT_EQ(LookAtSector(image, 7).state, SectorState::kUnreadable);
  EXPECT_EQ(SectorBody(LookAtSector(image, 7)), u"");
  EXPECT_EQ(LookAtSector(image, kSectors).state, SectorState::kBehindEnd);
  EXPECT_EQ(LookAtSector(image, kNowhere).state, SectorState::kBehindEnd);
}

TEST(SectorViewTest, AReadOnceStorageFetchesASectorByBeingLookedAt) {
  StorageRig rig(kSectors);
  rig.script->failing = {7};
  const Storage made = rig.ReadOnce();
  EXPECT_TRUE(ShowsPattern(LookAtSector(made, 5)));
  EXPECT_EQ(LookAtSector(made, 5).state, SectorState::kData);
  EXPECT_EQ(rig.script->Asked(5), 1u);
  const SectorView refused = LookAtSector(made, 7);
  EXPECT_EQ(refused.state, SectorState::kKnownUnreadable);
  EXPECT_EQ(SectorHeading(refused, kSectors),
            u"Sector 7 of 300, at byte 3584: unreadable; zeros stand in for it");
  EXPECT_NE(SectorBody(refused), u"");
}

TEST(SectorViewTest, AGoneSourceIsNotAskedAndNothingIsMarked) {
  StorageRig rig(kSectors);
  const Storage made = rig.ReadOnce();
  EXPECT_TRUE(ShowsPattern(LookAtSector(made, 5)));
  rig.script->Forget();
  for (const u64 live : {100u, 0u}) {  // cut, and gone altogether
    rig.script->liveSectors = live;
    EXPECT_EQ(LookAtSector(made, 200).state, SectorState::kSourceGone);
  }
  EXPECT_EQ(rig.script->AskedInAll(), 0u);
  EXPECT_EQ(fakes::Statuses(rig.view.Image(), 200, 1), ".");
  // What the cache has is shown all the same.
  EXPECT_TRUE(ShowsPattern(LookAtSector(made, 5)));
}

TEST(SectorViewTest, ACacheAloneTellsWhatItLacks) {
  StorageRig rig(kSectors);
  EXPECT_TRUE(ShowsPattern(LookAtSector(rig.ReadOnce(), 5)));
  const auto cache = fakes::OpenImage(rig.store, true);
  HostStorageNode node{cache.get(), nullptr, nullptr};
  Storage alone;
  alone.node = &node;
  alone.sectors = kSectors;
  for (const bool withMap : {false, true}) {
    if (withMap) alone.map = fakes::OpenImage(rig.store, true);
    EXPECT_EQ(LookAtSector(alone, 5).state, SectorState::kData);
    EXPECT_EQ(LookAtSector(alone, 6).state, SectorState::kMissing);
  }
  rig.store->bytes[2 * kSectorBytes + 5] = 6;  // a status that does not exist
  EXPECT_EQ(LookAtSector(alone, 5).state, SectorState::kUnreadable);
}

// Waits for a sector; one that was never there when it does not come.
SectorView Await(cSectorReader& reader) {
  for (int i = 0; i < 5000; ++i) {
    if (const auto view = reader.Take()) return *view;
    platform::SleepMilliseconds(1);
  }
  return {kNowhere};
}

TEST(SectorReaderTest, ASectorComesOnceAndThroughAClone) {
  StorageRig rig(kSectors);
  std::atomic<int> calls{0};
  cSectorReader reader([&calls] { ++calls; });
  ASSERT_TRUE(reader.Watch(rig.ReadOnce()));
  for (const u64 sector : {u64{5}, u64{6}, u64{5}, kSectors - 1}) {
    reader.Ask(sector);
    const SectorView view = Await(reader);
    EXPECT_EQ(view.sector, sector);
    EXPECT_TRUE(fakes::IsPattern(sector, view.bytes.data()));
    EXPECT_FALSE(reader.Take());
  }
  EXPECT_EQ(rig.script->AskedMoreThan(1), "");
  EXPECT_GE(calls, 4);
}

TEST(SectorReaderTest, OfSeveralTheLastOneCounts) {
  StorageRig rig(kSectors);
  std::atomic<bool> isHeld{true};
  rig.script->onRequest = [&isHeld](u64, u32) {
    while (isHeld) platform::SleepMilliseconds(1);
  };
  cSectorReader reader([] {});
  ASSERT_TRUE(reader.Watch(rig.Image()));
  for (const u64 sector : {7u, 8u, 9u}) reader.Ask(sector);
  EXPECT_FALSE(reader.Take());
  isHeld = false;
  EXPECT_EQ(Await(reader).sector, 9u);
}

TEST(SectorReaderTest, LeavingForgetsWhatWasAsked) {
  StorageRig rig(kSectors), other(kSectors);
  cSectorReader reader([] {});
  ASSERT_TRUE(reader.Watch(rig.Image()));
  reader.Ask(3);
  reader.Leave();
  EXPECT_FALSE(reader.IsWatching());
  EXPECT_FALSE(reader.Take());
  ASSERT_TRUE(reader.Watch(other.Image()));
  rig.script->Forget();
  reader.Ask(4);
  EXPECT_EQ(Await(reader).sector, 4u);
  EXPECT_EQ(rig.script->AskedInAll(), 0u);
}

}  // namespace
}  // namespace larkspur::host
