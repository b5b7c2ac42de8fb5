// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// An engine with a dying disk, a store and a log in memory, and a clock of their own.

#include <string>

#include <gtest/gtest.h>

#include "fakes/dying_disk.h"
#include "fakes/images.h"
#include "rescue/engine.h"

namespace larkspur {

// Of hundreds of other seeds, hardly any has a good sector marked (docs/testing.md).
constexpr u64 kUsualSeed = 1;
constexpr u64 kSectors = 40000;  // 32 witnesses, a skip of at most 1250 sectors

class EngineTest : public testing::Test {
 protected:
  EngineTest() { m_options.inThread = false; }

  // Another disk, with nothing known of it.
  void StartOver(u64 sectors = kSectors) {
    m_disk = fakes::DyingDisk(sectors, &m_clock);
    m_store = fakes::MemoryRescueStore(sectors);
    m_log = fakes::MemoryLog();
  }
  // The same disk as if nothing had been asked.
  void ForgetAll() {
    m_disk.asked.assign(kSectors, 0);
    m_store = fakes::MemoryRescueStore(kSectors);
    m_log = fakes::MemoryLog();
  }
  // One run of `image`, as the command makes it.
  StopReason Run() {
    return RunOn([](Engine& engine) {
      engine.Want(ExtentSet({0, kNowhere}));
      engine.Image();
    });
  }
  StopReason RunOn(const std::function<void(Engine&)>& work) {
    RescueHistory history = m_log.History(m_store.Sectors());
    m_log.Write(LogEvent("open").Add("source", m_disk.identity).Add("boot", m_log.boot));
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

}  // namespace larkspur
