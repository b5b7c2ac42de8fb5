// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/engine.h"

#include <random>

#include <gtest/gtest.h>

#include "fakes/dying_disk.h"
#include "fakes/images.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 40000;  // nine witnesses, a skip of at most 2048 sectors

class EngineTest : public testing::Test {
 protected:
  EngineTest() { m_options.inThread = false; }

  // One run of `image`, as the command makes it.
  StopReason Run() {
    return RunOn([](Engine& engine) {
      engine.Want(ExtentSet({0, kNowhere}));
      engine.Image();
    });
  }
  StopReason RunOn(const std::function<void(Engine&)>& work) {
    RescueHistory history = m_log.History(m_store.Sectors());
    m_log.Write(LogEvent("open").Add("source", m_disk.identity));
    Engine engine(&m_disk, &m_store, &m_log, &m_clock, &m_stop, m_options);
    engine.Resume(&history);
    work(engine);
    const StopReason reason = engine.Finish();
    m_progress = engine.Progress();
    m_error = engine.SystemError();
    EXPECT_EQ(m_store.wrongData, 0u);
    EXPECT_EQ(m_progress.all.present, m_store.Count(kPresent));
    EXPECT_EQ(m_progress.all.unreadable, m_store.Count(kUnreadable));
    EXPECT_EQ(m_progress.all.missing, m_store.Count(kMissing));
    return reason;
  }
  // The sectors marked unreadable, as the disk's bad ones are given.
  ExtentSet Marked() const {
    ExtentSet marked;
    for (u64 s = 0; s < m_store.Sectors(); ++s) {
      if (m_store.statuses[s] == kUnreadable) marked.Add({s, 1});
    }
    return marked;
  }
  void ExpectOnlyBadMissing() {
    EXPECT_EQ(m_store.Count(kPresent), m_store.Sectors() - m_disk.bad.Sectors());
    EXPECT_EQ(m_store.Count(kMissing), 0u);
    EXPECT_EQ(Marked().Intersection(m_disk.bad).Sectors(), m_disk.bad.Sectors());
  }

  fakes::FakeClock m_clock;
  fakes::DyingDisk m_disk{kSectors, &m_clock};
  fakes::MemoryRescueStore m_store{kSectors};
  fakes::MemoryLog m_log;
  std::atomic<bool> m_stop{false};
  EngineOptions m_options;
  RescueProgress m_progress;
  u32 m_error = 0;
};

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
    for (const auto& request : m_disk.requests) {
      ASSERT_EQ(request.first / 128, (request.first + request.count - 1) / 128);
    }
  }
}

TEST_F(EngineTest, WhatReadsWellComesFirst) {
  m_disk = fakes::DyingDisk(9000, &m_clock);
  m_store = fakes::MemoryRescueStore(9000);
  m_disk.bad.Add({1000, 300});
  m_disk.bad.Add({8000, 1});
  EXPECT_EQ(Run(), StopReason::kDone);
  ExpectOnlyBadMissing();
  EXPECT_EQ(m_disk.AskedMoreThan(2), "");
  // copy, back, sweep, trim, scrape, witnesses: two witnesses, at the end of pieces.
  const std::string pattern = m_disk.Pattern();
  EXPECT_EQ(pattern.substr(0, pattern.find(" 1280")), "") << pattern.substr(0, 600);
}

}  // namespace
}  // namespace larkspur
