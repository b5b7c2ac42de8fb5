// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The progress line: one that is rewritten on a terminal, one every ten seconds elsewhere.

#include "imaging/rescue_words.h"
#include "rescue/clock.h"

namespace larkspur::cli {

class ProgressLine {
 public:
  // The clock outlives the line; null: the system's.
  explicit ProgressLine(RescueClock* clock = nullptr);
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Shows the progress when it is time to; `fresh` counts what was done in this run, in sectors.
  void Show(const ProgressFacts& progress, u64 fresh, u64 left);
  // Whether it is time to.
  bool IsDue();
  void ShowNow(const ProgressFacts& text);
  double Seconds() { return m_clock->Seconds() - m_started; }

 private:
  RescueClock m_systemClock;
  RescueClock* m_clock;
  bool m_terminal;
  double m_started;
  double m_lastShown;
  SmoothRate m_rate;
};

// The line of a rescue, or its progress as JSON Lines.
class RescueProgressLine {
 public:
  explicit RescueProgressLine(bool json, RescueClock* clock = nullptr)
      : m_json(json), m_line(clock) {}

  void Show(const RescueProgress& progress);
  double Seconds() { return m_line.Seconds(); }

 private:
  bool m_json;
  ProgressLine m_line;
  SmoothRate m_rate;
  double m_lastJson = -1;  // seconds of the run
};

}  // namespace larkspur::cli
