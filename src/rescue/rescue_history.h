// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a rescue log says, read back: for resuming where a run stopped, and for people to read. A
// log is input like any other: a line that makes no sense is counted and passed over, no number in
// it is trusted, and what is kept of it is bounded but for the extents that were tried.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "rescue/asked_source.h"
#include "rescue/extent_set.h"
#include "rescue/json_line.h"

namespace larkspur {

struct HistoryRun {
  std::string start;  // as the log has them; empty when it has none
  std::string end;
  std::string how;  // empty: the run ended without saying so
  u64 asked = 0;
  u64 present = 0;
  u64 unreadable = 0;
  u64 missing = 0;
};

struct SlowArea {
  SectorRange range;
  double seconds = 0;
  FailureKind kind = FailureKind::kNone;
};

// How much was there at a time: a point of a curve.
struct HistoryPoint {
  std::string time;
  u64 present = 0;
  u64 unreadable = 0;
};

struct RescueHistory {
  // The last run's disk; none when the log tells of no run.
  std::optional<SourceIdentity> source;
  u32 stamp = 0;            // of the cache that the last run worked on
  std::string boot;         // of the machine, when the last run began
  std::string medium;       // the stay of the cache's medium in this machine, the same
  bool ended = true;        // the last run has said how it ended
  bool syncFailed = false;  // the last attempt to flush the cache to disk failed

  // Sectors that were asked together with others, or alone, and refused; also those that came
  // later: the cache says which.
  ExtentSet triedTogether;
  ExtentSet triedAlone;
  // The disk fell silent when it was asked for these alone.
  ExtentSet beganSilence;
  bool wasSilent = false;  // it refused what later did not count
  bool cameBack = false;   // and answered again in the same run
  // Where sectors were stored since the last time that all was flushed to disk.
  ExtentSet storing;

  std::vector<HistoryRun> runs;      // the last kMaxRuns of them
  std::vector<HistoryPoint> points;  // at most kMaxPoints
  std::vector<SlowArea> slowest;     // at most kMaxSlowAreas, slowest first
  std::array<u64, 6> failures{};     // by FailureKind
  u64 lines = 0;
  u64 wrongLines = 0;
  u64 firstWrongLine = 0;  // from 1; 0: none
  u32 systemError = 0;     // why the log could not be read to its end; 0: it was, or there is none

  static constexpr size_t kMaxRuns = 1000;
  static constexpr size_t kMaxPoints = 4096;
  static constexpr size_t kMaxSlowAreas = 10;
};

// The names that the log and the command line use: "medium", "transport" ...
std::string_view FailureKindName(FailureKind kind);

// Feeds a log piece by piece, so that its size does not matter. Sectors from `sectorLimit` on do
// not exist.
class HistoryReader {
 public:
  // `boot` names the time since this machine last started (platform/boot.h).
  HistoryReader(u64 sectorLimit, std::string boot)
      : m_limit(sectorLimit), m_boot(std::move(boot)) {}

  void Feed(std::string_view bytes);
  // A last line without its end was cut off by a crash and does not count.
  RescueHistory Finish();

 private:
  struct Failed {
    SectorRange range;
    bool alone;
    bool isByMedium;
  };
  struct Unproved {
    u64 count = 0;       // of the last failures, which do not count
    bool began = false;  // the first of them was asked alone, and may have begun the silence
  };

  void Line(std::string_view line);
  bool Take(const JsonLine& event);
  void TakeOpen(const JsonLine& event);
  bool TakeFailed(const JsonLine& event);
  void TakeEnd(const JsonLine& event);
  void AddPoint(const JsonLine& event);
  // Commits what was tried, but for the last `unproved` failures.
  void Settle(size_t unproved);
  void TakeBack(const Unproved& unproved);
  void GiveUpUnproved(const std::string& bootAfter);
  void KeepSlow(const SlowArea& area);
  std::optional<SectorRange> RangeOf(const JsonLine& event) const;
  HistoryRun& Run();

  u64 m_limit;
  std::string m_boot;
  std::string m_partial;
  bool m_overlong = false;
  std::vector<Failed> m_recent;        // the last failures, which an end may take back
  std::optional<Unproved> m_untilEnd;  // unless an end follows
  bool m_isInDoubt = false;  // a line that made no sense may have said that these do not count
  JsonLine m_event;
  u64 m_pointEvery = 1;  // one of so many points is kept
  u64 m_points = 0;
  RescueHistory m_history;
};

// Reads the log at `path`; nothing in it when there is none.
RescueHistory ReadHistory(const std::u16string& path, u64 sectorLimit);

}  // namespace larkspur
