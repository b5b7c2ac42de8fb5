// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/partition.h"

#include <gtest/gtest.h>

#include "fakes/disk_builder.h"
#include "fakes/dying_disk.h"
#include "fakes/images.h"
#include "fakes/lvm2_disk.h"
#include "fakes/memory_disk.h"
#include "files/volumes.h"
#include "rescue/engine.h"
#include "rescue/rescue_io.h"

namespace larkspur::cli {
namespace {

// Through a cache, nothing but what lies there tells that the table counts in 4096 bytes.
TEST(Partition, IsTheOneThatTheTreeShows) {
  const auto disk = fakes::DiskBuilder(65536)
                        .MbrEntry(0, 0, 7, 256, 1000)
                        .MbrEntry(0, 1, 7, 2000, 9000)
                        .Text(2048, 3, "NTFS    ")
                        .Le(2048, 510, 2, 0xAA55)
                        .Disk();
  EXPECT_EQ(FindPartition(disk.get(), nullptr, "d", "1"), (SectorRange{2048, 8000}));
  testing::internal::CaptureStderr();
  EXPECT_EQ(FindPartition(disk.get(), nullptr, "d", "2"), (SectorRange{16000, 49536}));
  EXPECT_EQ(FindPartition(disk.get(), nullptr, "d", "3"), Failed(kExitFailed));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "larkspur: d: partition 2 reaches 22464 sectors past the end\n"
            "larkspur: d: there is no partition 3; 'larkspur tree' shows their places\n");
  const VolumeLayout layout = LayoutOf(disk.get());
  ASSERT_EQ(layout.volumes.size(), 2u);
  EXPECT_EQ(layout.volumes[0].sectors, (SectorRange{2048, 8000}));
  EXPECT_EQ(layout.free.NextFrom(0), (SectorRange{0, 2048}));
}

// What a table of partitions gives to none is free; what a volume manager does may be in use.
TEST(Partition, WhatAVolumeManagerLeavesIsNotFree) {
  const auto disk =
      fakes::Lvm2Disk()
          .Label()
          .Area({.text = fakes::Lvm2Group(fakes::Lvm2Volume("root", fakes::Lvm2Linear(0, 4)))})
          .Disk();
  const VolumeLayout layout = LayoutOf(disk.get());
  EXPECT_TRUE(layout.free.IsEmpty());
  EXPECT_TRUE(layout.unknown.Contains(600));
}

TEST(Partition, WhatTheCacheLacksIsTold) {
  const auto image = fakes::CreateImage(fakes::MakeStore(), 4096);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FindPartition(image.get(), image.get(), "c", "1"), Failed(kExitFailed));
  EXPECT_TRUE(testing::internal::GetCapturedStderr().find(
                  "of the sectors that were needed are not in the cache yet") != std::string::npos);
  const VolumeLayout layout = LayoutOf(image.get(), image.get());
  ASSERT_FALSE(layout.met.unread.empty());
  EXPECT_EQ(layout.met.unread.front().status, kMissing);
}

TEST(Partition, IsNotCalledAbsentWhenTheSourceIs) {
  fakes::FakeClock clock;
  fakes::DyingDisk disk(1000, &clock);
  disk.misfortune = [](u64, u64, u32) { return FailureKind::kGone; };
  fakes::MemoryRescueStore store(1000);
  fakes::MemoryLog log;
  const std::atomic<bool> stop = false;
  Engine engine(&disk, &store, &log, &clock, &stop, {});
  ASSERT_TRUE(engine.Want({}));
  cRescueIO storage(&engine);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FindPartition(&storage, nullptr, "d", "1", &engine), Failed(kExitFailed));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(engine.Reason(), StopReason::kGone);
}

}  // namespace
}  // namespace larkspur::cli
