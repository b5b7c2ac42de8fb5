// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <utility>

#include "rescue/engine_rig.h"

namespace larkspur {
namespace {

TEST_F(EngineTest, AHealthyDiskIsReadOnceFromFrontToBack) {
  for (const bool inThread : {false, true}) {
    m_options.inThread = inThread;
    m_disk.asked.assign(kSectors, 0);
    m_store = fakes::MemoryRescueStore(kSectors);
    EXPECT_EQ(Run(), StopReason::kDone);
    ExpectOnlyBadMissing();
    EXPECT_EQ(m_disk.AskedMoreThan(1), "");
    EXPECT_EQ(m_progress.asked, kSectors);
    EXPECT_EQ(m_progress.domain.present, kSectors);
    EXPECT_EQ(m_store.flushesBegun, 2u);  // of 8 MiB each
    for (const auto& request : m_disk.requests) {
      ASSERT_EQ(request.first / 128, (request.first + request.count - 1) / 128);
    }
  }
}

TEST_F(EngineTest, EachPhaseAsksInItsOrder) {
  StartOver(9000);  // with 32 witnesses, amid pieces
  m_disk.bad.Add({1000, 4});
  m_disk.bad.Add({8000, 1});
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_EQ(m_disk.Pattern(),
            "0-127 129-494 496-733 735-972 974-1023! "  // copy, with skips
            "1536-1817 1819-2056 2058-2423 2425-2662 2664-2901 2903-3268 3270-3507 3509-3746 "
            "3748-3985 3987-4224 4226-4719 4721-4958 4960-5197 5199-5436 5438-5675 5677-6042 "
            "6044-6281 6283-6648 6650-6887 6889-7126 7128-7493 7495-7732 7734-7971 7973-8063! "
            "8320-8449 8451-8944 8946-8999 "
            // Back; witnesses beside failures as others are.
            "8212-8319 <8064-8210 7972 1452-1535 <1213-1450 <1024-1211 "
            // Trim; what fails alone is followed by a witness, as long as there are many.
            "973-999 1000! 8945 <1004-1023 1003! 8450 7973-7999 8000! 128 <8001-8063 "
            "1001! 8211 1002! 7733 "  // scrape
            "495 734 1212 1451 1818 2057 2424 2663 2902 3269 3508 3747 3986 4225 4720 4959 5198 "
            "5437 5676 6043 6282 6649 6888 7127 7494");
  ExpectOnlyBadMissing();

  StartOver(40);
  m_disk.bad.Add({5, 1});
  m_options.reverse = true;
  m_options.scrape = false;
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_EQ(m_disk.Pattern(), "31-39 11-29 0-9! 30 10");
  EXPECT_EQ(m_progress.all.missing, 10u);
  m_options = {.scrape = true, .inThread = false, .onSilent = {}};
}

TEST_F(EngineTest, ASlowAreaIsLeftForTheEnd) {
  m_disk.slow.Add({10000, 6000});
  EXPECT_EQ(Run(), StopReason::kDone);
  ExpectOnlyBadMissing();
  EXPECT_EQ(m_disk.AskedMoreThan(1), "");
  u64 slowBefore = 0, fastSeen = 0;
  for (const auto& request : m_disk.requests) {
    const bool isSlow = m_disk.slow.Contains(request.first);
    if (!isSlow) fastSeen += request.count;
    if (isSlow && fastSeen < kSectors - 6000 - 300) slowBefore += request.count;
  }
  EXPECT_LT(slowBefore, 1500u);
}

TEST_F(EngineTest, PhysicalSectorsAreAskedWhole) {
  m_disk.identity.physicalSectorBytes = 4096;
  m_disk.bad.Add({1000, 8});  // a drive refuses the whole physical sector
  m_disk.bad.Add({5000, 24});
  m_store.statuses[2001] = kPresent;
  RunOn([](Engine& engine) {
    engine.Want(ExtentSet({999, 20001}));
    engine.Image();
  });
  for (const auto& request : m_disk.requests) {
    ASSERT_TRUE(request.first % 8 == 0 || request.first == 2002) << request.first;
  }
  EXPECT_EQ(m_disk.AskedMoreThan(2), "");
  EXPECT_EQ(Marked().Sectors(), 32u);
  EXPECT_EQ(m_store.statuses[992], kPresent) << "what its physical sector gave is stored whole";
  EXPECT_EQ(m_store.statuses[991], kMissing);
}

TEST_F(EngineTest, ADriveThatNamesItsBadSectorIsAskedForTheRestAtOnce) {
  m_disk.badKind = FailureKind::kMedium;
  m_disk.namesBadSector = true;
  m_disk.bad.Add({1000, 1});
  EXPECT_EQ(Run(), StopReason::kDone);
  ExpectOnlyBadMissing();
  EXPECT_EQ(m_disk.AskedMoreThan(2), "");
  EXPECT_NE(m_disk.Pattern().find(" 896-999 1000! <1001-1023"), std::string::npos);
  EXPECT_NE(m_log.text.find(R"("kind":"medium","code":5,"sense":"3/11/00")"), std::string::npos);
  EXPECT_EQ(std::count_if(m_disk.requests.begin(), m_disk.requests.end(),
                          [](const auto& r) { return r.first >= 896 && r.first < 1000; }),
            2);
}

// A drive that says of its bad sectors that its hardware failed.
TEST_F(EngineTest, NeighboursOfWhatTimesOutAreRead) {
  for (u64 at = 777; at < kSectors; at += 6000) m_disk.bad.Add({at, 1});
  m_disk.badKind = FailureKind::kTransport;
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_EQ(m_store.Count(kPresent), kSectors - m_disk.bad.Sectors());
  EXPECT_EQ(m_store.Count(kUnreadable), 0u);
  EXPECT_LE(m_disk.requests.size(),
            313u + 2 * 32 + 7 * (128 + 6));  // pieces, and witnesses amid them
}

TEST_F(EngineTest, RetryReadsUnreadableSectorsAloneOnceMore) {
  m_disk.bad.Add({1000, 30});
  EXPECT_EQ(Run(), StopReason::kDone);
  m_disk.bad.Remove({1010, 5});
  m_disk.requests.clear();
  EXPECT_EQ(RunOn([](Engine& engine) {
              engine.Want(ExtentSet({0, kNowhere}));
              engine.Retry(ExtentSet({0, 1020}));
            }),
            StopReason::kDone);
  EXPECT_EQ(m_disk.requests.size(), 20u);
  ExpectOnlyBadMissing();
  EXPECT_EQ(m_log.Events("retry"), 1u);
}

TEST_F(EngineTest, RetryAsksForNothingElseAndCountsWhatItMarks) {
  m_disk.bad.Add({0, kSectors});
  for (u64 s = 1000; s < 1128; ++s) m_store.statuses[s] = kUnreadable;
  m_options.maxFailures = 4;
  EXPECT_EQ(RunOn([](Engine&) {}), StopReason::kDone) << "counted though nothing was wanted";
  EXPECT_EQ(RunOn([](Engine& engine) {
              engine.Want(ExtentSet({0, kNowhere}));
              engine.Retry(ExtentSet({0, kNowhere}));
            }),
            StopReason::kNotAnswering);
  EXPECT_TRUE(std::all_of(m_disk.requests.begin(), m_disk.requests.end(), [](const auto& request) {
    return request.first >= 1000 && request.first < 1128;
  }));
}

TEST_F(EngineTest, FetchReadsWhatSomebodyWaitsFor) {
  m_disk.badKind = FailureKind::kMedium;
  m_disk.bad.Add({300, 2});
  std::vector<u8> out(400 * kSectorBytes);
  EXPECT_EQ(RunOn([&](Engine& engine) {
              EXPECT_EQ(engine.Fetch({100, 400}, out.data()), 400u);
              EXPECT_EQ(engine.Fetch({100, 400}, out.data()), 400u);
            }),
            StopReason::kDone);
  for (u64 s = 100; s < 500; ++s) {
    const u8* sector = &out[(s - 100) * kSectorBytes];
    EXPECT_TRUE(m_disk.bad.Contains(s) ? sector[0] == 0 : fakes::IsPattern(s, sector)) << s;
  }
  EXPECT_EQ(m_disk.AskedMoreThan(2), "");
  EXPECT_EQ(m_disk.asked[99], 0u);
  EXPECT_EQ(m_disk.asked[500], 0u);
  EXPECT_EQ(m_disk.asked[150], 1u);
}

TEST_F(EngineTest, WhoeverWaitsComesBeforeTheImage) {
  m_disk.badKind = FailureKind::kMedium;
  m_disk.bad.Add({20000, 3});
  std::optional<SectorRange> awaited;
  Engine* engine = nullptr;
  m_disk.onAsk = [&](u64 ask) {
    if (ask == 3) awaited = {19900, 300};
  };
  m_options.isAwaited = [&] { return awaited.has_value(); };
  m_options.serve = [&] { engine->ReadMissing(*std::exchange(awaited, {}), true); };
  EXPECT_EQ(RunOn([&](Engine& one) {
              engine = &one;
              one.Want(ExtentSet({0, kNowhere}));
              one.Image();
            }),
            StopReason::kDone);
  // Once it is known that the range cannot be had whole, the image goes on where it was.
  EXPECT_EQ(m_disk.Pattern().substr(0, 63),
            "0-511 19900-19967 19968-20095! 20096-20199 19968-19999 20000! 5");
  ExpectOnlyBadMissing();
  EXPECT_EQ(m_disk.AskedMoreThan(2), "");
}

TEST_F(EngineTest, NothingIsAskedMoreOftenWhereManyWaitMeanwhile) {
  fakes::RandomSource random, chance;  // one for each thread
  SCOPED_TRACE(random.seed);
  m_disk.badKind = FailureKind::kMedium;
  for (int i = 0; i < 30; ++i) m_disk.bad.Add({random.Below(kSectors - 300), random.Below(300)});
  std::atomic<bool> isAwaited = false;
  Engine* engine = nullptr;
  m_disk.onAsk = [&](u64) {
    if (chance.Below(4) == 0) isAwaited = true;
  };
  m_options.isAwaited = [&] { return isAwaited.load(); };
  m_options.serve = [&] {
    isAwaited = false;
    engine->ReadMissing({random.Below(kSectors - 500), random.Below(500)}, random.Below(2) == 0);
    isAwaited = false;
  };
  for (const auto& [inThread, names] : {std::pair(false, false), {false, true}, {true, true}}) {
    m_options.inThread = inThread;
    m_disk.namesBadSector = names;
    ForgetAll();
    EXPECT_EQ(RunOn([&](Engine& one) {
                engine = &one;
                one.Want(ExtentSet({0, kNowhere}));
                one.Image();
              }),
              StopReason::kDone);
    ExpectOnlyBadMissing();
    EXPECT_EQ(m_disk.AskedMoreThan(2), "");
  }
}

TEST_F(EngineTest, AFullOrFailingCacheSparesTheDisk) {
  m_store.storesLeft = 20;
  EXPECT_EQ(Run(), StopReason::kStoreFailed);
  EXPECT_LE(m_disk.requests.size(), 22u);
  m_store.storesLeft = kNowhere;
  m_store.syncFails = true;
  EXPECT_EQ(Run(), StopReason::kStoreFailed);
  EXPECT_EQ(m_log.Events("sync-failed"), 1u);
  // What ended the run before is told rather than that.
  StartOver();
  m_store.syncFails = true;
  m_disk.misfortune = [](u64 ask, u64, u32) {
    return ask == 50 ? FailureKind::kGone : FailureKind::kNone;
  };
  EXPECT_EQ(Run(), StopReason::kGone);
  EXPECT_EQ(m_log.Events("sync-failed"), 1u);
}

TEST_F(EngineTest, ItSyncsEveryThirtySecondsAlsoOverBadAreas) {
  m_disk.bad.Add({1000, 2000});
  m_disk.badKind = FailureKind::kMedium;
  m_disk.failureSeconds = 3;
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_GE(static_cast<double>(m_store.syncs), m_clock.now / StoreKeeper::kSyncSeconds * 0.8);
  EXPECT_EQ(m_log.Events("synced"), m_store.syncs);
}

TEST_F(EngineTest, TheTimeLeftIsTheSlowestPartnersTime) {
  struct Case {
    double storeSeconds;  // a sector
    u64 rate;
    u64 badSectors;
    bool retry;
  };
  for (const Case& c : {Case{0, 0, 0, false}, Case{1e-3, 0, 0, false}, Case{0, 512000, 0, false},
                        Case{0, 0, 4000, true}}) {
    ForgetAll();
    m_options.maxBytesPerSecond = c.rate;
    m_disk.badKind = FailureKind::kMedium;
    m_disk.bad.Add({1000, c.badSectors});
    std::fill_n(m_store.statuses.begin() + 1000, c.badSectors, kUnreadable);
    m_store.onStore = [&](u32 count) { m_clock.now += c.storeSeconds * count; };
    std::vector<std::pair<double, double>> told;
    const auto watch = [&](const RescueProgress& progress) {
      told.emplace_back(m_clock.now, progress.secondsLeft);
    };
    RunOn([&](Engine& engine) {
      engine.Want(ExtentSet({0, kNowhere}));
      engine.OnProgress(watch);
      c.retry ? engine.Retry(ExtentSet({0, kNowhere})) : engine.Image();
    });
    const auto [half, left] = told[told.size() / 2];
    EXPECT_NEAR(left, m_clock.now - half, (m_clock.now - half) / 8)
        << c.storeSeconds << " " << c.rate << " " << c.retry;
  }
}

TEST_F(EngineTest, WhatAKilledRunDidNotFlushTheNextOneDoes) {
  EXPECT_EQ(Run(), StopReason::kDone);
  m_log.text.erase(m_log.text.find(R"({"t")", m_log.text.find("storing")));
  const u64 before = m_store.syncs;
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_EQ(m_store.syncs, before + 1);
  EXPECT_EQ(m_log.Events("synced"), 1u);
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_EQ(m_store.syncs, before + 1) << "nothing is left to flush";
}

// Random disks, hanging now and then, each killed at a random event of its log or stopped, and
// resumed, again and again.
TEST_F(EngineTest, WhateverHappensTheRulesHold) {
  fakes::RandomSource random(kUsualSeed);
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  struct Killed {};
  for (int round = 0; round < 60; ++round) {
    const u64 sectors = 2000 + random.Below(40000);
    StartOver(sectors);
    m_options.maxFailures = 16 + static_cast<u32>(random.Below(64));
    m_options.reverse = random.Below(4) == 0;
    m_disk.badKind = random.Below(2) ? FailureKind::kMedium : FailureKind::kUnclear;
    m_disk.namesBadSector = random.Below(2);
    if (random.Below(3) == 0) m_disk.identity.physicalSectorBytes = 4096;
    const u64 unit = m_disk.identity.physicalSectorBytes / kSectorBytes;
    for (u64 areas = random.Below(12); areas > 0; --areas) {
      const u64 first = random.Below(sectors) / unit * unit;
      const u64 count = (1 + random.Below(random.Below(2) ? 3 : 600)) * unit;
      m_disk.bad.Add({first, std::min(count, sectors - first)});
    }
    const u64 faults = random.Below(30);
    ExtentSet died;  // it was being asked for these
    bool isLast = false;
    for (int runs = 0; !isLast; ++runs) {
      isLast = runs == 6;
      u64 killAt = isLast ? kNowhere : random.Below(400), dieAt = kNowhere;
      if (!isLast && random.Below(3) == 0) dieAt = random.Below(500);
      const FailureKind hung = random.Below(2) ? FailureKind::kUnclear : FailureKind::kTransport;
      const u64 stopAt = isLast ? kNowhere : random.Below(800);
      m_stop = false;
      m_log.onWrite = [&] {
        if (killAt-- > 0) return;
        if (dieAt != kNowhere) m_log.boot += "1";  // the machine is switched off
        throw Killed();
      };
      m_options.onSilent = nullptr;
      if (random.Below(2)) {
        m_options.onSilent = [&](StopReason) {
          dieAt = kNowhere;
          return true;
        };
      }
      m_disk.misfortune = [&](u64 ask, u64 sector, u32 count) {
        // A good sector that kills the disk twice looks as if it were bad.
        if (ask == dieAt && died.Contains(sector)) ++dieAt;
        const bool isHung = ask >= dieAt;
        if (ask == dieAt) died.Add({sector, count});
        if (ask == stopAt) m_stop = true;
        const bool isCable = !isLast && faults > 0 && random.Below(1000) < faults;
        return isHung ? hung : isCable ? FailureKind::kTransport : FailureKind::kNone;
      };
      m_disk.requests.clear();
      try {
        Run();
      } catch (const Killed&) {
        m_log.onWrite = nullptr;
      }
      ASSERT_EQ(Marked().Intersection(m_disk.bad).Sectors(), Marked().Sectors())
          << "nothing is marked that is not bad, round " << round;
    }
    m_log.onWrite = nullptr;
    // A kill at the very event of a failure costs that request once more, and what a dead disk
    // refused does not count: in each of the six runs that did not end well, and, of a disk that
    // has next to nothing to prove life with, each time that it is woken.
    const bool provesLife = m_disk.bad.Sectors() < sectors / 2;
    const u32 mostTimes = 2 + 2 * 6 * (provesLife ? 1 : 3);
    for (u64 s = 0; s < sectors; ++s) {
      const std::string witness = "\"witness\",\"start\":" + std::to_string(s) + ",";
      ASSERT_TRUE(m_disk.asked[s] <= mostTimes || m_log.text.find(witness) != std::string::npos)
          << s;
    }
    if (provesLife) ExpectOnlyBadMissing();
  }
  m_options = {.inThread = false};
}

}  // namespace
}  // namespace larkspur
