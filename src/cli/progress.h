// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The progress line: one that is rewritten on a terminal, one every ten seconds elsewhere.

#include <string>

#include "rescue/engine.h"

namespace larkspur::cli {

// What the line says, apart from where it goes.
struct ProgressText {
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
std::string FormatProgress(const ProgressText& text, size_t width = ~size_t{0});

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

class ProgressLine {
 public:
  ProgressLine();

  // Shows the progress when it is time to; `fresh` counts what was done in this run, in sectors.
  void Show(const ProgressText& progress, u64 fresh, u64 left);
  // Whether it is time to.
  bool IsDue() const;
  void ShowNow(const ProgressText& text);
  double Seconds() const;

 private:
  bool m_terminal;
  double m_started;
  double m_lastShown;
  SmoothRate m_rate;
};

// The line of a rescue, or its progress as JSON Lines.
class RescueProgressLine {
 public:
  explicit RescueProgressLine(bool json) : m_json(json) {}

  void Show(const RescueProgress& progress);
  double Seconds() const { return m_line.Seconds(); }

 private:
  void PrintJsonLine(const RescueProgress& progress, double rate, double secondsLeft);

  bool m_json;
  ProgressLine m_line;
  SmoothRate m_rate;
  double m_lastJson = 0;
};

}  // namespace larkspur::cli
