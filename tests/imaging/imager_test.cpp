// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The order in which a failing source is read, and what is settled at the end.

#include "imaging/imager.h"

#include <random>

#include <gtest/gtest.h>

#include "fakes/recording_source.h"
#include "fakes/temp_folder.h"
#include "platform/clock.h"

namespace larkspur {
namespace {

class Imager : public testing::Test {
 protected:
  // One run of `image` over [first, first+count).
  ReadEnd Image(u64 first, u64 count) {
    Source source;
    source.answer = SourceAnswer::kOpened;
    source.sectors = m_script->sectors;
    source.traffic = std::make_shared<SourceTraffic>();
    source.io.reset(
        new cPiecewiseIO(Owned<cBaseIO>(new fakes::cRecordingSource(m_script)), source.traffic));
    Cache cache = OpenOrCreateCache(m_cachePath, u"source", source.sectors);
    EXPECT_EQ(cache.answer, CacheAnswer::kOpened);
    cImager imager(&cache, &source, &m_stop);
    imager.Prepare(first, count);
    const ReadEnd end = imager.Run({});
    m_progress = imager.Progress();
    const StatusCounts stored = CountStatuses(cache.image.get(), 0, source.sectors);
    EXPECT_EQ(m_progress.counts.present, stored.present);
    EXPECT_EQ(m_progress.counts.unreadable, stored.unreadable);
    EXPECT_EQ(m_progress.counts.missing, stored.missing);
    return end;
  }
  void UseSource(u64 sectors) {
    m_script = std::make_shared<fakes::SourceScript>(sectors);
    m_cachePath = m_folder.File(u"disk" + std::u16string(1, m_nextName++) + u".kvrsp");
  }
  void FailRange(u64 first, u64 count) {
    for (u64 sector = first; sector < first + count; ++sector) m_script->failing.insert(sector);
  }
  u64 AskedAlone() const {
    u64 sum = 0;
    for (const u32 times : m_script->askedAlone) sum += times;
    return sum;
  }

  fakes::TempFolder m_folder;
  char16_t m_nextName = u'A';
  std::u16string m_cachePath;
  std::shared_ptr<fakes::SourceScript> m_script;
  std::atomic<bool> m_stop{false};
  ImagingProgress m_progress;
};

TEST_F(Imager, ReadsWhatLiesBehindABadAreaBeforeTheAreaItself) {
  constexpr u64 kSectors = 60000, kBadFirst = 5000, kBadCount = 20000;
  constexpr u64 kFarthestMiss = 2048 + 512;
  UseSource(kSectors);
  FailRange(kBadFirst, kBadCount);
  u64 aloneAtEnd = 0;
  std::vector<bool> wasAsked(kSectors);
  std::vector<bool> askedBeforeEnd;
  m_script->onRequest = [&](u64 sector, u32 count) {
    std::fill_n(wasAsked.begin() + static_cast<i64>(sector), count, true);
    if (sector + count < kSectors || !askedBeforeEnd.empty()) return;
    aloneAtEnd = AskedAlone();
    askedBeforeEnd = wasAsked;
  };
  EXPECT_EQ(Image(0, kSectors), ReadEnd::kNotEnded);
  for (u64 sector = 0; sector < kSectors; ++sector) {
    const bool isNear = sector + 128 >= kBadFirst && sector < kBadFirst + kBadCount + kFarthestMiss;
    ASSERT_TRUE(isNear || askedBeforeEnd[sector]) << sector;
  }
  EXPECT_LE(aloneAtEnd, kBadCount / 10) << "the area itself is left for later";
  EXPECT_EQ(m_progress.counts.present, kSectors - kBadCount);
  EXPECT_EQ(m_progress.counts.unreadable, kBadCount);
}

TEST_F(Imager, AsksForNoSectorMoreThanOnceWithOthersAndOnceAlone) {
  for (const bool deliversPrefix : {true, false}) {
    std::mt19937 engine(deliversPrefix);
    const auto random = [&engine](u64 below) { return engine() % below; };
    for (int round = 0; round < 12; ++round) {
      UseSource(8000 + random(4000));
      m_script->deliversPrefix = deliversPrefix;
      for (u64 areas = random(6); areas > 0; --areas) {
        const u64 first = random(m_script->sectors);
        FailRange(first, std::min<u64>(1 + random(900), m_script->sectors - first));
      }
      EXPECT_EQ(Image(0, m_script->sectors), ReadEnd::kNotEnded);
      EXPECT_EQ(m_progress.counts.unreadable, m_script->failing.size());
      EXPECT_EQ(m_progress.counts.missing, 0u);
      for (u64 sector = 0; sector < m_script->sectors; ++sector) {
        ASSERT_LE(m_script->askedTogether[sector], 1u) << sector;
        ASSERT_LE(m_script->askedAlone[sector], 1u) << sector;
      }
      m_script->Forget();
      EXPECT_EQ(Image(0, m_script->sectors), ReadEnd::kNotEnded);
      EXPECT_EQ(m_script->AskedInAll(), 0u) << "what is settled is never asked again";
    }
  }
}

TEST_F(Imager, GoesOnWhereItWasStoppedInAnyPass) {
  for (u64 limit = 1; limit < 2000; limit = limit * 3 / 2 + 1) {
    UseSource(9000);
    FailRange(700, 900);
    FailRange(6000, 5);
    m_stop = false;
    u64 left = limit;
    m_script->onRequest = [&](u64, u32) {
      if (--left == 0) m_stop = true;
    };
    const ReadEnd end = Image(0, 9000);
    EXPECT_EQ(end, m_stop ? ReadEnd::kStopped : ReadEnd::kNotEnded);
    m_script->onRequest = nullptr;
    m_stop = false;
    EXPECT_EQ(Image(0, 9000), ReadEnd::kNotEnded);
    EXPECT_EQ(m_progress.counts.present, 9000u - 905) << limit;
    EXPECT_EQ(m_progress.counts.unreadable, 905u) << limit;
    for (const u64 sector : m_script->failing) {
      ASSERT_LE(m_script->askedAlone[sector], 1u) << sector << " stopped after " << limit;
    }
  }
}

TEST_F(Imager, LeavesASlowAreaForLater) {
  UseSource(9000);
  std::vector<u64> asked;
  m_script->onRequest = [&](u64 sector, u32) {
    if (sector == 1024) {
      platform::SleepMilliseconds(static_cast<u32>(cLeaps::kHardSeconds * 1000) + 100);
    }
    asked.push_back(sector);
  };
  EXPECT_EQ(Image(0, 9000), ReadEnd::kNotEnded);
  EXPECT_EQ(m_progress.counts.present, 9000u);
  const auto place = [&](u64 sector) { return std::find(asked.begin(), asked.end(), sector); };
  EXPECT_LT(place(8960), place(1536)) << "what lies behind the slow request comes last";
  EXPECT_EQ(m_script->AskedMoreThan(1), "");
}

TEST_F(Imager, KeepsToItsRange) {
  UseSource(9000);
  FailRange(3900, 300);
  EXPECT_EQ(Image(1000, 3000), ReadEnd::kNotEnded);
  EXPECT_EQ(m_progress.counts.present, 2900u);
  EXPECT_EQ(m_progress.counts.unreadable, 100u);
  EXPECT_EQ(m_progress.left, 0u);
  EXPECT_EQ(m_script->AskedInAll() - AskedAlone(), 3000u);
}

}  // namespace
}  // namespace larkspur
