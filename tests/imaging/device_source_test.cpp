// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Imaging a device as the command line does it: how often each sector is asked, and what happens
// when the device goes away.

#include <algorithm>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "fakes/memory_disk.h"
#include "fakes/temp_folder.h"
#include "imaging/rescue_session.h"

namespace larkspur {
namespace {

class DeviceSource : public DeviceTest {
 protected:
  fakes::SimulatedDrive* MakeDrive(u32 sectorBytes, u64 sectors) {
    fakes::SimulatedDrive* drive = m_devices.Add(u"\\\\.\\D:");
    drive->sectorBytes = sectorBytes;
    drive->sectors = sectors;
    drive->lengthBytes = sectors * sectorBytes;
    return drive;
  }
  // One run of `image`.
  StopReason Image(const fakes::SimulatedDrive& drive, const std::u16string& mapfile = {}) {
    auto source =
        OpenSource(drive.path, {.testMapfile = mapfile, .passThrough = PassThrough::kOff});
    EXPECT_TRUE(source);
    auto cache = OpenOrCreateCache(m_cachePath, drive.path, source->sectors);
    EXPECT_TRUE(cache);
    RescueSession session(&*source, &*cache, m_cachePath, &m_stop);
    EngineOptions options;
    options.inThread = false;
    EXPECT_TRUE(session.Open(options, false));
    session.Rescue().Want(ExtentSet({0, source->sectors}));
    session.Rescue().Image();
    const StopReason reason = session.Rescue().Finish();
    m_counts = session.Rescue().Progress().all;
    return reason;
  }
  // Whether the cache holds what the drive does.
  bool HoldsPattern(u64 first, u64 count) {
    const auto cache = OpenCache(m_cachePath, CacheAccess::kLook);
    u8 sector[512];
    for (u64 s = first; s < first + count; ++s) {
      cache->image->SetPosition(s);
      if (cache->image->Read(sector, 1) != 1 || !fakes::IsPattern(s, sector)) return false;
    }
    return true;
  }

  fakes::TempFolder m_folder;
  std::u16string m_cachePath = m_folder.File(u"disk.kvrsp");
  std::atomic<bool> m_stop{false};
  StatusCounts m_counts;
};

TEST_F(DeviceSource, ABadPhysicalSectorCostsItselfOnly) {
  for (const u32 sectorBytes : {512u, 2048u, 4096u}) {
    const u32 ratio = sectorBytes / 512;
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, 400);
    drive->failing = {0, 100, 101, 250, 399};
    EXPECT_EQ(Image(*drive), StopReason::kDone);
    EXPECT_EQ(m_counts.unreadable, 5u * ratio);
    EXPECT_EQ(m_counts.present, 395u * ratio);
    u64 forProof = 0;  // the last sector fails: one that is known to be good proves it
    for (const auto& [sector, times] : drive->askedTimes) {
      forProof += times > 2;
      EXPECT_LE(times, 3u) << "sector " << sector << " of " << sectorBytes;
      EXPECT_TRUE(!drive->failing.count(sector) || times >= 1);
    }
    EXPECT_LE(forProof, 1u);
    EXPECT_TRUE(HoldsPattern(ratio, 99 * ratio));
    EXPECT_TRUE(HoldsPattern(251 * ratio, 148 * ratio));
    drive->askedTimes.clear();
    EXPECT_EQ(Image(*drive), StopReason::kDone);
    EXPECT_TRUE(drive->askedTimes.empty()) << "what is settled is never asked again";
    drive->path.clear();
    m_cachePath += u"x";
  }
}

TEST_F(DeviceSource, ADeviceMayVanishAtAnyMoment) {
  for (u64 reads = 0; reads < 200; reads += 3) {
    m_cachePath = m_folder.File(u"cache" + WideFromUtf8(std::to_string(reads)));
    fakes::SimulatedDrive* drive = MakeDrive(4096, 100);
    drive->failing = {3, 40, 41};
    drive->vanishesAfterReads = reads;
    const StopReason end = Image(*drive);
    EXPECT_EQ(m_counts.present + m_counts.unreadable + m_counts.missing, 800u);
    if (end == StopReason::kDone) {
      EXPECT_TRUE(drive->isPresent);
      break;
    }
    EXPECT_EQ(end, StopReason::kGone) << reads;
    EXPECT_LE(m_counts.unreadable, 24u);
    EXPECT_EQ(drive->reads, reads + 1);
    drive->vanishesAfterReads.reset();
    drive->isPresent = true;
    EXPECT_EQ(Image(*drive), StopReason::kDone);
    EXPECT_EQ(m_counts.unreadable, 24u) << reads;
    EXPECT_EQ(m_counts.missing, 0u);
    drive->path.clear();
  }
}

// The run after one that was killed had nothing to read, and flushed nothing: an end in the log is
// no proof that the data reached the disk.
TEST_F(DeviceSource, WhatWasNeverFlushedIsDisbelievedAfterAPowerCut) {
  fakes::SimulatedDrive* drive = MakeDrive(512, 400);
  EXPECT_EQ(Image(*drive), StopReason::kDone);
  const std::u16string logPath = LogPathOf(m_cachePath);
  const auto log = fakes::ReadWholeFile(logPath);
  const std::string text(log.begin(), log.end());
  const auto replaced = [&](std::string in, const std::string& what, const std::string& by) {
    in.replace(in.find(what), what.size(), by);
    return in;
  };
  const std::string cut = replaced(text, R"("boot":")", R"("boot":"another )");
  for (const auto& [now, isRead] : {std::pair{cut, false},
                                    {replaced(text, "synced", "later!"), false},
                                    {replaced(cut, "synced", "later!"), true},
                                    {replaced(text, "synced", "sync-failed"), true}}) {
    {
      const auto cache = OpenCache(m_cachePath, CacheAccess::kResume);
      const std::vector<u8> zeros(100 * 512);
      ASSERT_TRUE(CacheStore(cache->image.get(), nullptr).Store(50, zeros.data(), 100, true));
    }
    ASSERT_TRUE(fakes::WriteWholeFile(logPath, {now.begin(), now.end()}));
    EXPECT_EQ(Image(*drive), StopReason::kDone);
    EXPECT_EQ(HoldsPattern(0, 400), isRead);
  }
}

TEST_F(DeviceSource, ADeviceThatShrinksHasGone) {
  fakes::SimulatedDrive* drive = MakeDrive(512, 4000);
  const auto source = OpenSource(drive->path, {});
  drive->sectors = 1000;
  std::vector<u8> buffer(512 * 256);
  source->io->SetPosition(900);
  EXPECT_EQ(source->io->Read(buffer.data(), 256), 0u);
  EXPECT_FALSE(source->traffic->gone) << "as large as ever: it only fails";
  drive->lengthBytes = 1000 * 512;
  source->io->SetPosition(2000);
  EXPECT_EQ(source->io->Read(buffer.data(), 256), 0u);
  EXPECT_TRUE(source->traffic->gone);
}

TEST_F(DeviceSource, ANumberedDrive) {
  fakes::SimulatedDrive* drive = MakeDrive(512, 10);
  drive->path = u"\\\\.\\PhysicalDrive7";
  EXPECT_EQ(Image(*drive), StopReason::kDone);
  EXPECT_EQ(m_counts.present, 10u);
}

TEST_F(DeviceSource, WhatCannotBeOpened) {
  fakes::SimulatedDrive* drive = MakeDrive(512, 10);
  drive->hasGeometry = false;
  EXPECT_EQ(OpenSource(drive->path, {}).error().kind, SourceFaultKind::kCannotOpen);
  drive->hasGeometry = true;
  drive->lengthBytes = 0;
  EXPECT_EQ(OpenSource(drive->path, {}).error().kind, SourceFaultKind::kEmpty) << "no medium";
  drive->isPresent = false;
  EXPECT_EQ(OpenSource(drive->path, {}).error().kind, SourceFaultKind::kCannotOpen);
}

}  // namespace
}  // namespace larkspur
