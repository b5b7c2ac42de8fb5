// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/read_everything.h"

#include <gtest/gtest.h>

#include "fakes/dying_disk.h"
#include "host/storage_rig.h"
#include "imaging/summary.h"
#include "platform/clock.h"

namespace larkspur::host {
namespace {

constexpr u64 kSectors = 1000;  // no multiple of a request

// Runs a job to its end.
struct Reading {
  explicit Reading(const Storage& storage) {
    ready = job.Prepare(storage);
    if (!ready || !job.Start()) return;
    while (job.IsRunning()) platform::SleepMilliseconds(1);
  }

  bool ready = false;
  double lastShare = 0;
  fakes::FakeClock clock;  // a busy machine must not look like a slow disk
  cReadEverythingJob job{[this](double share) { lastShare = share; }, &clock};
};

StatusCounts Counts(StorageRig& rig) {
  return CountStatuses(rig.view.Image(), 0, kSectors);
}

TEST(ReadEverythingTest, AHealthyReadOnceStorageIsReadWholeAndOnce) {
  StorageRig rig(kSectors);
  const Storage storage = rig.ReadOnce();
  const Reading run(storage);
  EXPECT_EQ(run.job.State().end, ReadingEnd::kDone);
  EXPECT_EQ(run.job.State().unreadable, 0u);
  EXPECT_EQ(run.lastShare, 1.0);
  EXPECT_EQ(Counts(rig).present, kSectors);
  EXPECT_EQ(rig.script->AskedMoreThan(1), "");
}

TEST(ReadEverythingTest, UnreadableSectorsAreCountedAndDoNotEndIt) {
  for (const bool isReadOnce : {false, true}) {
    StorageRig rig(kSectors);
    rig.script->failing = {0, 127, 128, 500, 501, kSectors - 1};
    const Storage storage = isReadOnce ? rig.ReadOnce() : rig.Image();
    const Reading run(storage);
    EXPECT_EQ(run.job.State().end, ReadingEnd::kDone);
    EXPECT_EQ(run.job.State().unreadable, 6u);
    EXPECT_EQ(rig.script->AskedMoreThan(2), "");
    EXPECT_EQ(Counts(rig).unreadable, isReadOnce ? 6u : 0u);
  }
}

TEST(ReadEverythingTest, AStoppedRunIsResumed) {
  StorageRig rig(kSectors);
  const Storage storage = rig.ReadOnce();
  cReadEverythingJob job({});
  ASSERT_TRUE(job.Prepare(storage));
  rig.script->onRequest = [&job](u64 sector, u32) {
    if (sector >= 256) job.RequestStop();
  };
  ASSERT_TRUE(job.Start());
  while (job.IsRunning()) platform::SleepMilliseconds(1);
  EXPECT_EQ(job.State().end, ReadingEnd::kStopped);
  EXPECT_EQ(Counts(rig).missing, kSectors - 384);
  rig.script->onRequest = nullptr;
  const Reading rest(storage);
  EXPECT_EQ(rest.job.State().end, ReadingEnd::kDone);
  EXPECT_EQ(Counts(rig).present, kSectors);
  EXPECT_EQ(rig.script->AskedMoreThan(1), "");
}

TEST(ReadEverythingTest, ASourceThatShrinksEndsItBeforeAnythingIsMarked) {
  StorageRig rig(kSectors);
  const Storage storage = rig.ReadOnce();
  // After the second request, as if somebody had cut the file.
  rig.script->onRequest = [&rig](u64 sector, u32) {
    if (sector == 128) rig.script->liveSectors = 300;
  };
  const Reading run(storage);
  EXPECT_EQ(run.job.State().end, ReadingEnd::kSourceGone);
  EXPECT_EQ(Counts(rig).unreadable, 0u);
  EXPECT_EQ(Counts(rig).present, 256u);
}

TEST(ReadEverythingTest, ACacheThatKeepsNothingSparesTheSource) {
  StorageRig rig(kSectors);
  rig.store->limitBytes = rig.store->bytes.size() + 100 * 1024;  // a full disk
  const Storage storage = rig.ReadOnce();
  const Reading run(storage);
  EXPECT_EQ(run.job.State().end, ReadingEnd::kNotKept);
  EXPECT_LT(rig.script->AskedInAll(), kSectors / 2);
}

TEST(ReadEverythingTest, ACacheThatCannotBeReadEndsIt) {
  StorageRig rig(kSectors);
  const Storage storage = rig.ReadOnce();
  rig.store->failAt = rig.store->operations + 1;
  rig.store->failForGood = true;
  const Reading run(storage);
  EXPECT_TRUE(!run.ready || run.job.State().end == ReadingEnd::kNotKept ||
              run.job.State().end == ReadingEnd::kCacheFailed);
  EXPECT_LE(rig.script->AskedInAll(), 2 * AskedSource::kMaxAskSectors);
}

TEST(ReadEverythingTest, ACacheAloneIsReadWithWhatItLacks) {
  StorageRig rig(kSectors);
  rig.script->failing = {100, 101};
  Storage made = rig.ReadOnce();
  made.sectors = 256;
  EXPECT_EQ(Reading(made).job.State().end, ReadingEnd::kDone);
  const auto cache = fakes::OpenImage(rig.store, true);
  HostStorageNode node{cache.get(), nullptr, nullptr};
  Storage alone;
  alone.node = &node;
  alone.sectors = kSectors;
  alone.map = fakes::OpenImage(rig.store, true);
  const Reading run(alone);
  EXPECT_EQ(run.job.State().end, ReadingEnd::kDone);
  EXPECT_EQ(run.job.State().unreadable, 2u);
  EXPECT_EQ(Counts(rig).missing, kSectors - 256);
}

TEST(ReadEverythingTest, EveryEndHasWords) {
  for (const ReadingEnd end :
       {ReadingEnd::kDone, ReadingEnd::kStopped, ReadingEnd::kSourceGone, ReadingEnd::kNotKept,
        ReadingEnd::kNotAnswering, ReadingEnd::kCacheFailed, ReadingEnd::kAborted}) {
    EXPECT_FALSE(EndWords(end, 0).empty());
  }
  EXPECT_EQ(EndWords(ReadingEnd::kDone, 1), u"Everything was read; 1 sector is unreadable.");
  EXPECT_EQ(EndWords(ReadingEnd::kDone, 2), u"Everything was read; 2 sectors are unreadable.");
}

}  // namespace
}  // namespace larkspur::host
