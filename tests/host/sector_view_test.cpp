// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/sector_view.h"

#include <gtest/gtest.h>

#include "host/storage_rig.h"

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
}

}  // namespace
}  // namespace larkspur::host
