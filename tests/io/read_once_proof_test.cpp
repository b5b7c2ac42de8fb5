// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What a failing disk is asked, proved with a source that counts: no sector that was stored or
// marked is ever asked again, and within one run none is asked more than twice.

#include <gtest/gtest.h>

#include "fakes/read_once_rig.h"

namespace larkspur {
namespace {

using fakes::ReadOnceRig;

std::string Complete(const fakes::SourceScript& script) {
  std::string statuses(script.sectors, 'p');
  for (const u64 sector : script.failing) statuses[sector] = 'u';
  return statuses;
}

// An unreadable sector in the middle of readable ones makes only its own 64 KiB be asked twice.
TEST(ReadOnceProof, AnIsolatedUnreadableSectorCostsItsPieceAlone) {
  constexpr u64 kSectors = 5000;
  constexpr u32 kPiece = cPiecewiseIO::kPieceSectors;
  for (const bool prefix : {true, false}) {
    for (const u32 request : {1u, 2u, 8u, 127u, 128u, 129u, 256u, 1000u, 2048u, 5000u}) {
      for (const u64 bad : {u64{0}, u64{127}, u64{128}, u64{1000}, u64{2559}, kSectors - 1}) {
        ReadOnceRig rig(kSectors);
        rig.script->failing = {bad};
        rig.script->deliversPrefix = prefix;
        ASSERT_TRUE(rig.Open());
        rig.ReadAll(request);
        ASSERT_EQ(rig.Statuses(), Complete(*rig.script)) << request << " " << bad;
        ASSERT_EQ(rig.script->AskedMoreThan(2), "") << request << " " << bad;
        ASSERT_EQ(rig.script->requestsPastEnd, 0u);
        for (u64 sector = 0; sector < kSectors; ++sector) {
          ASSERT_GE(rig.script->Asked(sector), 1u);
          if (rig.script->Asked(sector) == 2) {
            ASSERT_EQ(sector / kPiece, bad / kPiece) << request << " " << sector;
            ASSERT_GE(sector, prefix ? bad : 0) << "delivered before the failing one";
          }
        }
      }
    }
  }
}

// Some failing sectors alone and some in runs.
std::set<u64> RandomFailures(fakes::RandomSource* random, u64 sectors) {
  std::set<u64> failing;
  for (u64 i = random->Below(20); i > 0; --i) {
    const u64 first = random->Below(sectors);
    const u64 count = random->Below(3) ? 1 : 1 + random->Below(200);
    for (u64 sector = first; sector < std::min(first + count, sectors); ++sector) {
      failing.insert(sector);
    }
  }
  return failing;
}

// A random life of one cache: reads through the storage and its clones, and new runs in between.
void LiveOn(fakes::RandomSource* random, ReadOnceRig* rig) {
  const u64 sectors = rig->script->sectors;
  std::string known(sectors, '.');
  std::vector<u32> askedInThisRun(sectors);
  for (int step = 0; step < 60; ++step) {
    if (step % 20 == 0) {
      ASSERT_TRUE(rig->Open());
      askedInThisRun.assign(sectors, 0);
    }
    if (random->Below(8) == 0) rig->view.reset(static_cast<cReadOnceIO*>(rig->view->Clone()));
    const u64 first = random->Below(sectors);
    const u32 count = static_cast<u32>(1 + random->Below(random->Below(2) ? 30 : 700));
    rig->script->Forget();
    ASSERT_EQ(rig->Read(first, count), std::min<u64>(count, sectors - first));
    for (u64 sector = 0; sector < sectors; ++sector) {
      const u32 asked = rig->script->Asked(sector);
      ASSERT_TRUE(known[sector] == '.' || asked == 0) << sector << " was known";
      ASSERT_TRUE(asked == 0 || (sector >= first && sector < first + count)) << sector;
      ASSERT_LE(askedInThisRun[sector] += asked, 2u) << sector;
    }
    for (u64 sector = first; sector < std::min(first + count, sectors); ++sector) {
      known[sector] = rig->script->failing.count(sector) ? 'u' : 'p';
    }
    ASSERT_EQ(rig->Statuses(), known);
  }
}

TEST(ReadOnceProof, NothingKnownIsEverAskedAgain) {
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  for (int round = 0; round < 24; ++round) {
    ReadOnceRig rig(1 + random.Below(4000));
    rig.inPieces = round % 4 != 0;
    rig.script->failing = RandomFailures(&random, rig.script->sectors);
    rig.script->deliversPrefix = round % 2 == 0;
    ASSERT_NO_FATAL_FAILURE(LiveOn(&random, &rig)) << "round " << round;
  }
}

struct Fault {
  u64 at;
  bool forGood;
  bool tear;
};

// An imaging run whose cache fails at its k-th operation; then the same again, whole. False once
// the run is over before the fault.
bool SurvivesFault(const Fault& fault, u32 request) {
  constexpr u64 kSectors = 300;
  ReadOnceRig rig(kSectors);
  rig.script->failing = {5, 130, 131, 299};
  rig.store->failAt = fault.at;
  rig.store->failForGood = fault.forGood;
  rig.store->tearWrites = fault.tear;
  if (rig.Open()) rig.ReadAll(request);
  const bool happened = rig.store->operations >= fault.at;
  rig.store->failAt = 0;
  // What the cache holds after the fault, asked of it without the storage.
  const auto image = fakes::OpenImage(rig.store, true);
  const std::string kept = image ? fakes::Statuses(image.get(), 0, kSectors) : "";
  rig.script->Forget();
  EXPECT_TRUE(rig.Open());
  if (!rig.view) return false;
  rig.ReadAll(request);
  for (u64 sector = 0; sector < kept.size(); ++sector) {
    EXPECT_TRUE(kept[sector] == '.' || rig.script->Asked(sector) == 0) << sector << " was kept";
  }
  EXPECT_EQ(rig.Statuses(), Complete(*rig.script));
  EXPECT_EQ(rig.script->AskedMoreThan(2), "");
  rig.script->Forget();
  rig.ReadAll(kSectors);  // checks all bytes
  EXPECT_EQ(rig.script->AskedInAll(), 0u);
  return happened;
}

TEST(ReadOnceProof, ACacheThatFailsAtAnyOperationLosesNothing) {
  for (const u32 request : {50u, 300u}) {
    for (const bool forGood : {false, true}) {
      for (const bool tear : {false, true}) {
        u64 k = 1;
        while (SurvivesFault({k, forGood, tear}, request)) {
          ASSERT_FALSE(testing::Test::HasFailure())
              << "operation " << k << (forGood ? " and all after it" : "") << ", requests of "
              << request;
          ++k;
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "operation " << k;
        EXPECT_GT(k, 20u);
      }
    }
  }
}

}  // namespace
}  // namespace larkspur
