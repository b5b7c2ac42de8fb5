// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A dying disk in memory, with a clock of its own: what it is asked costs time, some of it fails,
// and the whole disk may hang, vanish and come back. It writes down what it was asked. And the
// engine's other neighbours: a store and a log in memory. Sector s holds Pattern(s) throughout.

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "rescue/asked_source.h"
#include "rescue/clock.h"
#include "rescue/extent_set.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"
#include "rescue/rescue_store.h"

namespace larkspur::fakes {

class FakeClock final : public RescueClock {
 public:
  double Seconds() override { return now; }
  void Sleep(double seconds) override { now += seconds; }
  std::atomic<double> now = 0;  // a queue's thread reads and sets it, too
};

class DyingDisk final : public AskedSource {
 public:
  DyingDisk(u64 sectorCount, FakeClock* clock);

  AskOutcome Ask(u64 sector, void* buffer, u32 count) override;
  const SourceIdentity& Identity() const override { return identity; }
  bool Reconnect(double) override { return false; }

  SourceIdentity identity;
  ExtentSet bad;
  ExtentSet slow;
  double sectorSeconds = 1e-5;
  double failureSeconds = 0.08;
  double slowFactor = 20;
  FailureKind badKind = FailureKind::kUnclear;  // how bad sectors fail
  bool namesBadSector = false;
  // What a request comes to whatever the sectors are; kNone: as they are.
  std::function<FailureKind(u64 ask, u64 sector, u32 count)> misfortune;
  // Called before each request is answered.
  std::function<void(u64 ask)> onAsk;

  struct Request {
    u64 first;
    u32 count;
    bool failed;
  };
  std::vector<Request> requests;
  std::vector<u8> asked;  // how often each sector was, but for failures that are not the medium's

  // The requests as text, neighbours in one direction joined: "0-1023 1024-1151! 3200-4095"; "!" is
  // one that failed, "<" stands before stretches that were read backwards.
  std::string Pattern() const;
  // Sectors asked for more than `times`; empty when there are none.
  std::string AskedMoreThan(u8 times) const;

 private:
  FakeClock* m_clock;
};

// A store that keeps statuses, and checks the data that it is given.
class MemoryRescueStore final : public RescueStore {
 public:
  explicit MemoryRescueStore(u64 sectorCount) : statuses(sectorCount, kMissing) {}

  u64 Sectors() const override { return statuses.size(); }
  bool Visit(SectorRange range, const ExtentVisitor& visit) override;
  bool MakeRoom(SectorRange) override { return true; }
  bool Store(u64 first, const u8* data, u32 count, bool evenUnreadable) override;
  bool MarkUnreadable(SectorRange range) override;
  bool Load(u64 first, u8* data, u32 count) override;
  bool Sync() override;
  void BeginFlush() override { ++flushesBegun; }

  u64 Count(SectorStatus status) const;

  std::vector<SectorStatus> statuses;
  u64 wrongData = 0;  // sectors that were stored with another sector's data
  u64 storesLeft = kNowhere;
  std::function<void(u32 count)> onStore;
  bool syncFails = false;
  u64 syncs = 0;
  u64 flushesBegun = 0;
};

// A log that is kept as text.
class MemoryLog final : public RescueLog {
 public:
  void Write(const LogEvent& event) override {
    if (onWrite) onWrite();
    text += event.Line() + "\n";
  }
  void Sync() override {}
  // What a new run would read.
  std::string boot = "1";  // of the machine, now
  RescueHistory History(u64 sectors) const;
  u64 Events(const std::string& name) const;

  std::string text;
  std::function<void()> onWrite;
};

}  // namespace larkspur::fakes
