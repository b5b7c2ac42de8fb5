// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The progress line: one that is rewritten on a terminal, one every ten seconds elsewhere.

#include "imaging/rescue_words.h"

namespace larkspur::cli {

class ProgressLine {
 public:
  ProgressLine();

  // Shows the progress when it is time to; `fresh` counts what was done in this run, in sectors.
  void Show(const ProgressFacts& progress, u64 fresh, u64 left);
  // Whether it is time to.
  bool IsDue() const;
  void ShowNow(const ProgressFacts& text);
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
  void PrintJsonLine(const RescueProgress& progress, const ProgressFacts& facts);

  bool m_json;
  ProgressLine m_line;
  SmoothRate m_rate;
  double m_lastJson = 0;
};

}  // namespace larkspur::cli
