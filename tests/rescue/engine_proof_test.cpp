// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// Disks that hang, vanish or come back: what is marked needs proof of life.

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "rescue/engine_rig.h"

namespace larkspur {
namespace {

class EngineProofTest : public EngineTest {
 protected:
  // All that the disk is asked for within that time after a failure fails, too.
  void FallSilentAfterFailures(double seconds) {
    m_disk.misfortune = [this, seconds, silentUntil = 0.0](u64, u64 sector, u32 count) mutable {
      if (m_clock.now < silentUntil) return FailureKind::kUnclear;
      const auto bad = m_disk.bad.NextFrom(sector);
      if (bad && bad->first < sector + count) silentUntil = m_clock.now + seconds;
      return FailureKind::kNone;
    };
  }
};

TEST_F(EngineProofTest, ADiskThatHangsLosesNothing) {
  // From some request on nothing is answered, at any place in the work; then it is back.
  for (u64 dies = 0; dies < 700; dies = dies * 3 / 2 + 1) {
    StartOver();
    m_disk.bad.Add({3000, 200});
    m_disk.bad.Add({20000, 5});
    m_disk.misfortune = [dies](u64 ask, u64, u32) {
      return ask >= dies ? FailureKind::kUnclear : FailureKind::kNone;
    };
    const StopReason reason = Run();
    EXPECT_EQ(reason, StopReason::kNotAnswering) << dies;
    EXPECT_LE(m_disk.requests.size(), dies + 64 + 64 + 2) << "it gives up soon";
    EXPECT_EQ(Marked().Intersection(m_disk.bad).Sectors(), Marked().Sectors()) << dies;
    m_disk.misfortune = nullptr;
    std::fill(m_disk.asked.begin(), m_disk.asked.end(), u8{0});
    EXPECT_EQ(Run(), StopReason::kDone);
    ExpectOnlyBadMissing();
    EXPECT_EQ(m_disk.AskedMoreThan(4), "") << dies;
  }
}

// A second interrupt ends the program without a word: the log is to know by then what does not
// count.
TEST_F(EngineProofTest, AnInterruptWhileARequestHangsIsLoggedBeforeItIsAnswered) {
  m_options.inThread = true;
  for (const bool hangs : {true, false}) {
    StartOver();
    m_stop = false;
    std::atomic<bool> isLogged = false;
    m_disk.misfortune = [&](u64 ask, u64, u32) {
      if (ask != 5) return FailureKind::kNone;
      m_stop = true;
      for (int i = 0; i < (hangs ? 5000 : 500) && !isLogged; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (hangs) m_clock.now = m_clock.now + 0.1;
      }
      EXPECT_EQ(isLogged, hangs);
      return FailureKind::kNone;
    };
    RunOn([&](Engine& engine) {
      engine.OnProgress([&](const RescueProgress&) {
        if (m_log.text.find("untilEnd") != std::string::npos) isLogged = true;
      });
      engine.Want(ExtentSet({0, kNowhere}));
      engine.Image();
    });
  }
}

// Whoever sees a disk hang stops the program, or switches everything off.
TEST_F(EngineProofTest, AHungDiskLosesNothingWhateverEndsTheRun) {
  struct Killed {};
  for (u64 dies = 0; dies < 700; dies = dies * 3 / 2 + 1) {
    for (const std::string how : {"stopped", "restarted", "killed"}) {
      SCOPED_TRACE("dies " + std::to_string(dies) + ", " + how);
      StartOver();
      m_disk.bad.Add({3000, 200});
      m_disk.bad.Add({20000, 5});
      m_disk.misfortune = [&](u64 ask, u64, u32) {
        // On the same boot, only once the disk was found to be silent.
        const u64 endsAt = dies + (how == "killed" ? 20 : 10);
        if (ask == endsAt && how == "stopped") m_stop = true;
        if (ask == endsAt && how == "restarted") m_log.boot += "1";
        if (ask == endsAt && how != "stopped") throw Killed();
        return ask >= dies ? FailureKind::kUnclear : FailureKind::kNone;
      };
      try {
        Run();
      } catch (const Killed&) {
      }
      m_stop = false;
      m_disk.misfortune = nullptr;
      EXPECT_EQ(Run(), StopReason::kDone);
      ExpectOnlyBadMissing();
      EXPECT_EQ(m_disk.AskedMoreThan(4), "");
    }
  }
}

TEST_F(EngineProofTest, AHungDiskThatWakesGoesOnInTheSameRun) {
  u64 dead = kNowhere;
  int woken = 0;
  m_disk.bad.Add({3000, 10});
  m_disk.misfortune = [&](u64 ask, u64, u32) {
    if (ask == 100) dead = ask;
    return ask >= dead ? FailureKind::kUnclear : FailureKind::kNone;
  };
  m_options.onSilent = [&](StopReason reason) {
    EXPECT_EQ(reason, StopReason::kNotAnswering);
    if (++woken == 2) dead = kNowhere;  // the first attempt does not help
    return true;
  };
  EXPECT_EQ(Run(), StopReason::kDone);
  EXPECT_EQ(woken, 2);
  ExpectOnlyBadMissing();
  m_options.onSilent = nullptr;
}

// Each failure, or chance, silences the disk for a while: all it is asked for meanwhile fails.
TEST_F(EngineProofTest, ADiskThatComesBackByItselfLosesNothing) {
  Run();
  std::vector<u64> witnesses;  // all that is asked alone where nothing fails
  for (const auto& request : m_disk.requests) {
    if (request.count == 1) witnesses.push_back(request.first);
  }
  fakes::RandomSource random(kUsualSeed);
  SCOPED_TRACE(random.seed);
  for (const double seconds : {0.1, 0.5, 1.5, 4.0}) {
    for (const bool isCaused : {true, false}) {
      // Of a short silence that nothing caused, the one refusal looks as if it were bad.
      if (!isCaused && seconds < 0.2) continue;
      StartOver();
      SCOPED_TRACE(testing::Message() << seconds << (isCaused ? " caused" : " by chance"));
      for (int i = 0; i < 6; ++i)
        m_disk.bad.Add({random.Below(kSectors - 10), 1 + random.Below(2)});
      if (random.Below(2) == 0) m_disk.bad.Add({witnesses[random.Below(witnesses.size())], 1});
      double silentUntil = 0;
      bool begins = false;
      ExtentSet begun;
      m_disk.misfortune = [&](u64, u64 sector, u32 count) {
        // A good sector that begins two silences looks as if it were bad.
        if (std::exchange(begins, false) && !isCaused) {
          if (begun.Contains(sector)) silentUntil = 0;
          begun.Add({sector, count});
        }
        if (m_clock.now < silentUntil) return FailureKind::kUnclear;
        const auto bad = m_disk.bad.NextFrom(sector);
        const bool fails = bad && bad->first < sector + count;
        begins = isCaused ? fails : random.Below(300) == 0;
        if (begins) silentUntil = m_clock.now + seconds;
        return FailureKind::kNone;
      };
      for (int run = 0; run < 60 && Run() == StopReason::kNotAnswering; ++run) {
        m_clock.now = m_clock.now + 60;
      }
      EXPECT_EQ(Marked().Intersection(m_disk.bad).Sectors(), Marked().Sectors());
      ExpectOnlyBadMissing();
    }
  }
}

// The same where little is wanted, so that hardly a witness is amid it.
TEST_F(EngineProofTest, ADiskThatComesBackByItselfLosesNothingOfWhatIsWanted) {
  // 91: a bad witness silences the disk once more when it is asked again.
  for (const u64 seed : {kUsualSeed, u64{91}}) {
    fakes::RandomSource random(seed);
    SCOPED_TRACE(random.seed);
    for (const double seconds : {0.1, 0.5, 4.0}) {
      for (const u64 pieces : {1u, 20u, 60u}) {
        for (const bool isFetched : {false, true}) {
          SCOPED_TRACE(testing::Message()
                       << seconds << " s, " << pieces << (isFetched ? " fetched" : ""));
          StartOver();
          std::vector<SectorRange> wanted;
          for (u64 i = 0; i < pieces; ++i) {
            wanted.push_back({kSectors / pieces * i + 100, 1 + random.Below(200)});
            if (i % 2 == 0) m_disk.bad.Add({wanted[i].first + random.Below(wanted[i].count), 1});
          }
          FallSilentAfterFailures(seconds);
          RunOn([&](Engine& engine) {
            ExtentSet domain;
            for (const SectorRange& part : wanted) {
              if (isFetched) engine.ReadMissing(part, false);
              domain.Add(part);
            }
            if (isFetched) return;
            engine.Want(domain);
            engine.Image();
          });
          EXPECT_EQ(Marked().Intersection(m_disk.bad).Sectors(), Marked().Sectors());
          EXPECT_EQ(m_disk.AskedMoreThan(12), "");
        }
      }
    }
  }
}

// A floppy disk, or a card of less: few witnesses fit in.
TEST_F(EngineProofTest, ASmallDiskThatComesBackByItselfLosesNothing) {
  // 1107: pass after pass brings nothing but what begins the silences.
  for (const u64 seed : {kUsualSeed, u64{1107}}) {
    fakes::RandomSource random(seed);
    SCOPED_TRACE(random.seed);
    for (const u64 sectors : {500u, 1000u, 2000u, 2880u, 5000u}) {
      for (const double seconds : {0.1, 0.5, 4.0}) {
        SCOPED_TRACE(testing::Message() << sectors << " sectors, " << seconds << " s");
        StartOver(sectors);
        for (int i = 0; i < 3; ++i)
          m_disk.bad.Add({random.Below(sectors - 10), 1 + random.Below(2)});
        FallSilentAfterFailures(seconds);
        for (int run = 0; run < 60 && Run() == StopReason::kNotAnswering; ++run) {
          m_clock.now = m_clock.now + 60;
        }
        EXPECT_EQ(Marked().Intersection(m_disk.bad).Sectors(), Marked().Sectors());
        ExpectOnlyBadMissing();
      }
    }
  }
}

// People run the same command again, and the disk is still silent.
TEST_F(EngineProofTest, RunsOnADiskThatStaysSilentLoseNothing) {
  for (const FailureKind badKind : {FailureKind::kUnclear, FailureKind::kMedium}) {
    for (int runs = 1; runs < 6; ++runs) {
      SCOPED_TRACE(runs);
      StartOver();
      m_disk.badKind = badKind;
      m_disk.bad.Add({3000, 2});
      m_disk.bad.Add({20000, 3});
      bool isSilent = false;
      m_disk.misfortune = [&](u64 ask, u64, u32) {
        isSilent = isSilent || ask == 300;
        return isSilent ? FailureKind::kUnclear : FailureKind::kNone;
      };
      for (int run = 0; run < runs; ++run) EXPECT_EQ(Run(), StopReason::kNotAnswering);
      m_disk.misfortune = nullptr;
      EXPECT_EQ(Run(), StopReason::kDone);
      ExpectOnlyBadMissing();
    }
  }
}

// Alive, and bad nearly everywhere: no piece comes as a whole, and far more fail in a row than a
// dead disk is allowed. What is good comes in few runs, and so does the end.
TEST_F(EngineProofTest, ADiskThatIsMostlyBadIsRescued) {
  const struct {
    u64 sectors;
    ExtentSet good;
    int runs;
    bool isSettled;  // after these
  } kCases[] = {
      {1000, ExtentSet({437, 126}), 2, true}, {2048, ExtentSet({254, 60}), 2, true},
      {256, ExtentSet({99, 60}), 1, true},    {300, ExtentSet({299, 1}), 4, false},
      {300, ExtentSet({150, 1}), 4, false},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(testing::Message() << test.good.Sectors() << " of " << test.sectors);
    StartOver(test.sectors);
    m_disk.bad.Add({0, test.sectors});
    m_disk.bad.Remove(test.good);
    for (int run = 0; run < test.runs; ++run) Run();
    EXPECT_EQ(m_store.Count(kPresent), test.good.Sectors());
    if (test.isSettled) ExpectOnlyBadMissing();
    const u64 failures = m_log.Events("failed");
    EXPECT_LE(m_log.Events("witness"), 2 * 48 + failures / 64 + 2);  // while it was to be believed
  }
}

// Bad spots at even distances, at the same place of each piece: no witness may share it.
TEST_F(EngineProofTest, BadSpotsAtEvenDistancesCostOneAskMore) {
  for (const u64 apart : {128u, 256u, 512u, 1024u, 1000u}) {
    for (const u64 first : {u64{0}, u64{64}, apart / 2, apart - 1}) {
      SCOPED_TRACE(testing::Message() << first << " + n * " << apart);
      StartOver(65536);
      for (u64 at = first; at < 65536; at += apart) m_disk.bad.Add({at, 1});
      EXPECT_EQ(Run(), StopReason::kDone);
      ExpectOnlyBadMissing();
      const std::string often = m_disk.AskedMoreThan(2);  // known good, and asked for proof
      EXPECT_LE(u64(std::count(often.begin(), often.end(), ' ')), m_log.Events("witness")) << often;
    }
  }
}

// A stick that reports a bad sector, and then hangs until it is plugged again.
TEST_F(EngineProofTest, WhatFollowsAReportedErrorDoesNotCountWhereTheDiskHangs) {
  m_disk.badKind = FailureKind::kMedium;
  for (u64 i = 0; i < 8; ++i) m_disk.bad.Add({2000 + 4500 * i, 3});
  bool isSilent = false;
  m_disk.misfortune = [&](u64, u64 sector, u32 count) {
    const bool wasSilent = isSilent;
    const auto bad = m_disk.bad.NextFrom(sector);
    isSilent = isSilent || (bad && bad->first < sector + count);
    return wasSilent ? FailureKind::kUnclear : FailureKind::kNone;
  };
  for (int run = 0; run < 99 && Run() == StopReason::kNotAnswering; ++run) isSilent = false;
  ExpectOnlyBadMissing();
}

// Any line of the log of a run that was killed while the disk was silent.
TEST_F(EngineProofTest, ALineOfTheLogThatIsNonsenseLosesNoSector) {
  struct Killed {};
  for (size_t wrong = 0, lines = 1; wrong < lines; ++wrong) {
    StartOver();
    m_disk.bad.Add({3000, 2});
    m_disk.bad.Add({20000, 3});
    m_disk.misfortune = [&](u64 ask, u64, u32) {
      if (ask == 380) throw Killed();
      return ask >= 350 ? FailureKind::kUnclear : FailureKind::kNone;
    };
    EXPECT_THROW(Run(), Killed);
    lines = static_cast<size_t>(std::count(m_log.text.begin(), m_log.text.end(), '\n'));
    size_t at = 0;
    for (size_t line = 0; line < wrong; ++line) at = m_log.text.find('\n', at) + 1;
    m_log.text[at] = 'x';
    m_disk.misfortune = nullptr;
    EXPECT_EQ(Run(), StopReason::kDone);
    SCOPED_TRACE(m_log.text);
    ExpectOnlyBadMissing();
  }
}

// What is left fails without the medium's doing: the disk may be dead.
TEST_F(EngineProofTest, ADiskOfWhichNothingElseIsWantedIsFoundDead) {
  m_disk.bad.Add({3000, 2});
  m_options.scrape = false;
  EXPECT_EQ(Run(), StopReason::kDone);
  m_options.scrape = true;
  m_disk.misfortune = [](u64, u64, u32) { return FailureKind::kTransport; };
  EXPECT_EQ(Run(), StopReason::kNotAnswering);
  EXPECT_EQ(Marked().Sectors(), 0u);
}

// A flash stick that must be plugged again after each error.
TEST_F(EngineProofTest, ADiskThatEachErrorKillsIsWokenAFewTimesForEach) {
  m_disk.bad.Add({3000, 1});
  m_disk.bad.Add({20000, 2});
  bool isDead = false;
  int woken = 0;
  m_disk.misfortune = [&](u64, u64 sector, u32 count) {
    const bool wasDead = isDead;
    const auto bad = m_disk.bad.NextFrom(sector);
    isDead = isDead || (bad && bad->first < sector + count);
    return wasDead ? FailureKind::kUnclear : FailureKind::kNone;
  };
  m_options.onSilent = [&](StopReason) {
    ++woken;
    isDead = false;
    return true;
  };
  EXPECT_EQ(Run(), StopReason::kDone);
  ExpectOnlyBadMissing();
  EXPECT_EQ(Marked().Sectors(), 3u);
  EXPECT_LE(woken, 9);
  m_options.onSilent = nullptr;
}

// Of a domain that is all bad, nothing inside proves that the disk is alive.
TEST_F(EngineProofTest, ADomainThatIsAllBadIsProvedElsewhere) {
  m_disk.bad.Add({20000, 800});
  EXPECT_EQ(RunOn([](Engine& engine) {
              engine.Want(ExtentSet({20000, 800}));
              engine.Image();
            }),
            StopReason::kDone);
  EXPECT_EQ(Marked().Sectors(), 800u);
}

TEST_F(EngineProofTest, WhatIsNotTheMediumsDoingIsNeverMarked) {
  struct Case {
    FailureKind kind;
    StopReason reason;
    u64 mostAsks;
  };
  for (const Case& c : {Case{FailureKind::kGone, StopReason::kGone, 11},
                        Case{FailureKind::kSystem, StopReason::kSystemFailed, 20},
                        Case{FailureKind::kTransport, StopReason::kNotAnswering, 80}}) {
    StartOver();
    m_disk.misfortune = [&](u64 ask, u64, u32) { return ask >= 10 ? c.kind : FailureKind::kNone; };
    EXPECT_EQ(Run(), c.reason);
    EXPECT_LE(m_disk.requests.size(), c.mostAsks);
    EXPECT_EQ(m_store.Count(kUnreadable), 0u);
    m_disk.misfortune = nullptr;
    EXPECT_EQ(Run(), StopReason::kDone);
    ExpectOnlyBadMissing();
    EXPECT_EQ(m_disk.AskedMoreThan(1), "");
  }
}

TEST_F(EngineProofTest, ACableThatFailsNowAndThenCostsNothing) {
  m_disk.bad.Add({5000, 3});
  for (const FailureKind kind : {FailureKind::kTransport, FailureKind::kSystem}) {
    ForgetAll();
    m_disk.misfortune = [&](u64 ask, u64, u32) { return ask % 5 == 3 ? kind : FailureKind::kNone; };
    EXPECT_EQ(Run(), StopReason::kDone);
    ExpectOnlyBadMissing();
    EXPECT_EQ(m_disk.AskedMoreThan(4), "");
  }
}

TEST_F(EngineProofTest, TheLastRefusalNeedsProof) {
  // The whole of what is missing is bad: a sector that is known to be good is asked again.
  m_disk.bad.Add({1000, 30});
  std::fill(m_store.statuses.begin(), m_store.statuses.end(), kPresent);
  std::fill_n(m_store.statuses.begin() + 1000, 30, kMissing);
  const auto run = [this] {
    return RunOn([](Engine& engine) {
      engine.Want(ExtentSet({1000, 30}));
      engine.Image();
    });
  };
  EXPECT_EQ(run(), StopReason::kDone);
  EXPECT_EQ(Marked().Sectors(), 30u);
  EXPECT_EQ(m_log.Events("witness"), 1u);
  // Else what is not wanted is read, one sector for each refusal.
  ForgetAll();
  EXPECT_EQ(run(), StopReason::kDone);
  EXPECT_EQ(Marked().Sectors(), 30u);
  EXPECT_EQ(m_log.Events("witness"), 0u);
  EXPECT_LE(m_store.Count(kPresent), 31u);
  // All of the disk is bad: nothing proves that it is alive.
  m_disk.bad.Add({0, kSectors});
  ForgetAll();
  EXPECT_EQ(run(), StopReason::kNotAnswering);
  EXPECT_EQ(Marked().Sectors(), 0u);
}

// Bad witnesses that fail one after the other look like silence, and are not to do so again and
// again.
TEST_F(EngineProofTest, BadWitnessesAreAskedAFewTimes) {
  StartOver(9000);  // with four witnesses
  for (const u64 at : {1151u, 3455u, 5631u, 7935u}) {
    if (at != 3455) m_disk.bad.Add({at, 1});
  }
  for (u64 at = 2000; at < 8900; at += 500) m_disk.bad.Add({at, 3});
  EXPECT_EQ(Run(), StopReason::kDone);
  ExpectOnlyBadMissing();
  EXPECT_EQ(m_disk.AskedMoreThan(4), "");
}

// There are few or no other witnesses left, and those known to be good fail as well, for a while.
TEST_F(EngineProofTest, ASilenceAmongTheLastRequestsMarksNothing) {
  for (const u64 left : {1u, 2u, 4u}) {
    for (const double seconds : {0.3, 4.0}) {
      SCOPED_TRACE(testing::Message() << left << " left, " << seconds << " s");
      StartOver();
      double silentUntil = -1;
      m_disk.misfortune = [&](u64, u64, u32) {
        if (silentUntil < 0 && m_store.Count(kMissing) == left) silentUntil = m_clock.now + seconds;
        return m_clock.now < silentUntil ? FailureKind::kUnclear : FailureKind::kNone;
      };
      EXPECT_EQ(Run(), StopReason::kDone);
      EXPECT_GT(silentUntil, 0);
      ExpectOnlyBadMissing();
    }
  }
}

}  // namespace
}  // namespace larkspur
