// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/sector_reader.h"

#include <gtest/gtest.h>

#include "host/storage_rig.h"
#include "platform/clock.h"

namespace larkspur::host {
namespace {

constexpr u64 kSectors = 300;

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
