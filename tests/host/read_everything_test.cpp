// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/read_everything.h"

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "fakes/dying_disk.h"
#include "fakes/listed_sectors.h"
#include "host/model/sector_reader.h"
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
  double firstShare = -1, lastShare = -1, shareAtStart = -1;
  fakes::FakeClock clock;  // a busy machine must not look like a slow disk
  cReadEverythingJob job{[this](double share, double atStart) {
                           if (firstShare < 0) firstShare = share;
                           lastShare = share;
                           shareAtStart = atStart;
                         },
                         &clock};
};

StatusCounts Counts(StorageRig& rig) {
  return CountStatuses(rig.view.Image(), 0, kSectors);
}

TEST(ReadEverythingTest, UnreadableSectorsAreCountedAndDoNotEndIt) {
  for (const bool isReadOnce : {false, true}) {
    StorageRig rig(kSectors);
    rig.script->failing = {0, 127, 128, 500, 501, kSectors - 1};
    const Storage storage = isReadOnce ? rig.ReadOnce() : rig.Image();
    const Reading run(storage);
    EXPECT_EQ(run.job.Ended().end, ReadingEnd::kDone);
    EXPECT_EQ(run.job.Ended().unreadable, 6u);
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
  EXPECT_EQ(job.Ended().end, ReadingEnd::kStopped);
  const u64 present = Counts(rig).present;
  EXPECT_GT(present, 0u);
  EXPECT_LE(present, 384u);
  rig.script->onRequest = nullptr;
  const Reading rest(storage);
  EXPECT_EQ(rest.job.Ended().end, ReadingEnd::kDone);
  const double share = static_cast<double>(present) / kSectors;
  EXPECT_DOUBLE_EQ(rest.shareAtStart, share);
  EXPECT_DOUBLE_EQ(rest.firstShare, share);
  EXPECT_EQ(Counts(rig).present, kSectors);
  EXPECT_EQ(rig.script->AskedMoreThan(1), "");
}

TEST(ReadEverythingTest, ASourceThatShrinksEndsItBeforeAnythingIsMarked) {
  StorageRig rig(kSectors);
  const Storage storage = rig.ReadOnce();
  // In the middle, as if somebody had cut the file.
  rig.script->onRequest = [&rig](u64 sector, u32) {
    if (sector >= 128) rig.script->liveSectors = 300;
  };
  const Reading run(storage);
  EXPECT_EQ(run.job.Ended().end, ReadingEnd::kSourceGone);
  EXPECT_EQ(Counts(rig).unreadable, 0u);
  EXPECT_GT(Counts(rig).present, 100u);
  EXPECT_LE(Counts(rig).present, 300u);
}

TEST(ReadEverythingTest, ACacheThatKeepsNothingSparesTheSource) {
  StorageRig rig(kSectors);
  rig.store->limitBytes = rig.store->bytes.size() + 100 * 1024;  // a full disk
  const Storage storage = rig.ReadOnce();
  const Reading run(storage);
  EXPECT_EQ(run.job.Ended().end, ReadingEnd::kNotKept);
  EXPECT_LT(rig.script->AskedInAll(), kSectors / 2);
}

TEST(ReadEverythingTest, ACacheThatCannotBeReadEndsIt) {
  StorageRig rig(kSectors);
  const Storage storage = rig.ReadOnce();
  rig.store->failAt = rig.store->operations + 1;
  rig.store->failForGood = true;
  const Reading run(storage);
  EXPECT_TRUE(!run.ready || run.job.Ended().end == ReadingEnd::kNotKept ||
              run.job.Ended().end == ReadingEnd::kCacheFailed);
  EXPECT_LE(rig.script->AskedInAll(), 2 * AskedSource::kMaxAskSectors);
}

TEST(ReadEverythingTest, WhatCannotBeOpenedAgainIsNotTakenForUnknown) {
  StorageRig rig(kSectors);
  Storage storage = rig.ReadOnce();
  static constexpr u8 kHeader[fakes::cListedSectors::kHeaderBytes] = {};
  storage.source.io.reset(new fakes::cListedSectors(kHeader));  // which has no clones
  EXPECT_FALSE(cReadEverythingJob({}).Prepare(storage));
  EXPECT_FALSE(cSectorReader([] {}).Watch(storage));
  EXPECT_TRUE(NoCloneWords(storage).find(u"cannot be opened again for reading") !=
              std::u16string::npos);
}

TEST(ReadEverythingTest, OfACacheAloneItIsToldWhatIsMissing) {
  StorageRig rig(kSectors);
  rig.script->failing = {100, 101};
  Storage made = rig.ReadOnce();
  made.sectors = 256;
  EXPECT_EQ(Reading(made).job.Ended().end, ReadingEnd::kDone);
  const auto cache = fakes::OpenImage(rig.store, true);
  HostStorageNode node{cache.get(), nullptr, nullptr};
  Storage alone;
  alone.node = &node;
  alone.kind = StorageKind::kCache;
  alone.sectors = kSectors;
  alone.map = fakes::OpenImage(rig.store, true);
  const Reading run(alone);
  EXPECT_EQ(run.job.Ended().end, ReadingEnd::kDone);
  EXPECT_EQ(run.job.Ended().unreadable, 2u);
  EXPECT_EQ(run.job.Ended().missing, kSectors - 256);
  EXPECT_EQ(Counts(rig).missing, kSectors - 256);
}

// Disks that fail from some request on.
TEST(ReadEverythingTest, ASilentDiskIsToldFromALargeBadArea) {
  constexpr u64 kDisk = 16384, kFirstBad = 4096;
  const struct {
    const char* what;
    bool isSilent, isSourceKnown;
    ReadingEnd end;
  } rows[] = {{"a bad area", false, true, ReadingEnd::kDone},
              {"silent", true, true, ReadingEnd::kNotAnswering},
              {"silent, and unknown to the host", true, false, ReadingEnd::kNotAnswering}};
  for (const auto& row : rows) {
    StorageRig rig(kDisk);
    for (u64 sector = kFirstBad; sector < kDisk; ++sector) rig.script->failing.insert(sector);
    rig.script->onRequest = [&](u64 sector, u32) {
      if (!row.isSilent || sector < kFirstBad || rig.script->failing.contains(0)) return;
      for (u64 each = 0; each < kFirstBad; ++each) rig.script->failing.insert(each);
    };
    Storage storage = rig.ReadOnce();
    if (!row.isSourceKnown) storage.source = {};
    const Reading run(storage);
    EXPECT_EQ(run.job.Ended().end, row.end) << row.what;
    const u64 unreadable = CountStatuses(rig.view.Image(), 0, kDisk).unreadable;
    EXPECT_EQ(run.job.Ended().unreadable, unreadable) << row.what;
    if (row.isSilent) {
      EXPECT_LT(unreadable, 20 * AskedSource::kMaxAskSectors) << row.what;
    } else {
      EXPECT_EQ(unreadable, kDisk - kFirstBad) << row.what;
      EXPECT_EQ(rig.script->AskedMoreThan(2), "") << row.what;
    }
    const double settled = static_cast<double>(kDisk - run.job.Ended().missing);
    EXPECT_DOUBLE_EQ(run.lastShare, settled / kDisk) << row.what;
  }
}

TEST(ReadEverythingTest, ItTellsPhasesAndHangsAsTheCommandLineDoes) {
  StorageRig rig(kSectors);
  rig.script->failing = {500, 505};
  const Storage storage = rig.ReadOnce();
  fakes::FakeClock clock;
  std::string phases;
  cReadEverythingJob job(
      [&](double, double) {
        const std::string words = Utf8FromWide(job.Progress());
        const std::string phase = words.substr(0, words.find(' ')) + " ";
        if (!phases.ends_with(phase)) phases += phase;
      },
      &clock);
  std::string hung;
  rig.script->onRequest = [&](u64 sector, u32 count) {
    if (sector != 502 || count != 1) return;
    clock.Sleep(70);
    hung = Utf8FromWide(job.Progress());
  };
  EXPECT_EQ(job.Progress(), u"");
  ASSERT_TRUE(job.Prepare(storage) && job.Start());
  while (job.IsRunning()) platform::SleepMilliseconds(1);
  EXPECT_EQ(phases, "copy back trim scrape ");
  EXPECT_NE(hung.find("no answer for 1:10\nThis request is taking"), std::string::npos) << hung;

  RescueProgress progress;
  progress.phase = Phase::kTrim;
  progress.domainSectors = 8192;
  progress.domain = {4096, 2, 4094};
  progress.position = 2048;
  progress.secondsSinceSuccess = 1.5;
  const char* const line = "trim    at 1.0 MiB  present 2.0 MiB  unreadable 2 sectors  512 bytes/s";
  EXPECT_EQ(Utf8FromWide(ReadingWords(progress, 1, 0)), line);
  EXPECT_EQ(Utf8FromWide(ReadingWords(progress, 1, 5)), line + std::string("  no answer for 0:06"));
  const std::string hangs = Utf8FromWide(ReadingWords(progress, 1, 70));
  EXPECT_TRUE(
      hangs.starts_with(line + std::string("  no answer for 1:11\nThis request is taking")));
}

TEST(ReadEverythingTest, EveryEndHasWords) {
  using End = ReadingEnd;
  const struct {
    ReadingReport ended;
    const char16_t* words;
  } rows[] = {
      {{End::kDone, 0, 0, {}, {}}, u"Everything was read."},
      {{End::kDone, 1, 0, {}, {}}, u"Everything was read; 1 sector is unreadable."},
      {{End::kDone, 2, 0, {}, {}}, u"Everything was read; 2 sectors are unreadable."},
      {{End::kDone, 2, 1, {}, {}},
       u"What can be read here was read; 1 sector is missing; 2 sectors are unreadable."},
      {{End::kSourceGone, 0, 9, u"a.kvrsp", u"a.img"},
       u"The source has become shorter or is gone.\na.img\n"},
      {{End::kNotKept, 0, 9, u"a.kvrsp", u"a.img"}, u"The cache could not be written.\na.kvrsp\n"},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(EndWords(row.ended).starts_with(row.words)) << Utf8FromWide(EndWords(row.ended));
  }
}

}  // namespace
}  // namespace larkspur::host
