// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How far a rescue is, what ails its disk and what its log tells, in the words of every face.

#include <string>

#include "rescue/engine.h"
#include "rescue/rescue_history.h"

namespace larkspur {

// Of a disk that failed everywhere it was asked, and what to do about it.
inline constexpr char kNotAnswering[] = "the disk is not answering, even where it should read well";
inline constexpr char kWakeTheDisk[] =
    "Switch its power off and on, check the cable, let it cool down";
inline constexpr char kSourceGone[] = "the source has become shorter or is gone";

// How far some work is.
struct ProgressFacts {
  u64 sectors = 0;  // of the whole work; 0: not known
  u64 done = 0;
  u64 unreadable = 0;
  double bytesPerSecond = -1;  // below 0: not known
  double secondsLeft = -1;     // below 0: not known
  std::string phase = {};      // empty: there are none
  u64 position = 0;            // of the last request; with a phase
  double sinceSuccess = 0;     // seconds since the source last answered; with a phase
};

// "42.0%  present 1.2 GiB  unreadable 12 sectors  35.2 MiB/s  12:33 left", with a phase as
// "copy  42.0%  at 2.1 GiB  present ...  no answer for 0:12  12:33 left". What does not fit into
// `width` characters is left out, whole parts at a time: first the place, last the phase.
std::string FormatProgress(const ProgressFacts& text, size_t width = ~size_t{0});
// Of a rescue, whose domain grows at this rate; below 0: not known.
ProgressFacts FactsOf(const RescueProgress& progress, double sectorsPerSecond);

// Hours, minutes and seconds: "0:07", "12:33", "3:05:00".
std::string FormatDuration(double seconds);

// Sectors per second, smoothed.
class SmoothRate {
 public:
  // Takes how much was done until now; below 0 until there is something to tell it from.
  double Add(u64 done, double now);

 private:
  double m_time = -1;
  u64 m_done = 0;
  double m_rate = -1;
};

// The kinds of failures, in the order in which they are told.
constexpr FailureKind kLoggedKinds[] = {FailureKind::kMedium, FailureKind::kUnclear,
                                        FailureKind::kTransport, FailureKind::kGone,
                                        FailureKind::kSystem};
u64 CountOf(const RescueHistory& history, FailureKind kind);
// How many sectors failed, together with others or alone, each counted once.
u64 TriedSectors(const RescueHistory& history);

inline constexpr char kNoLogWords[] = "there is no log, or it is empty";
// "2 lines cannot be understood and are ignored; the first is line 7". REQUIRES: there are some
std::string WrongLinesText(const RescueHistory& history);

// The disk, the runs, the failures and the slowest of them, in lines that end with "\n" and are at
// most so wide, but for what the disk and the log call themselves.
constexpr i32 kHistoryColumns = 94;
std::string HistoryText(const RescueHistory& history);

}  // namespace larkspur
