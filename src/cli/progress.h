// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The progress line: one that is rewritten on a terminal, one every ten seconds elsewhere.

#include <string>

#include "imaging/imager.h"

namespace larkspur::cli {

// What the line says, apart from where it goes.
struct ProgressText {
  u64 sectors = 0;  // of the whole work
  u64 done = 0;
  u64 unreadable = 0;
  double bytesPerSecond = -1;  // below 0: not known
  double secondsLeft = -1;     // below 0: not known
};

// "42.0 %  present 1.2 GiB  unreadable 12 sectors  35.2 MiB/s  12:33 left"
std::string FormatProgress(const ProgressText& text);

// Hours, minutes and seconds: "0:07", "12:33", "3:05:00".
std::string FormatDuration(double seconds);

class ProgressLine {
 public:
  ProgressLine();

  // Shows the progress when it is time to; `fresh` counts what was done in this run, in sectors.
  void Show(const ProgressText& progress, u64 fresh, u64 left);
  // Leaves the terminal's cursor below the line.
  void Finish();

  double Seconds() const;

 private:
  // Sectors per second, smoothed; below 0 until there is something to tell it from.
  double RecentRate(u64 fresh, double now);

  bool m_terminal;
  double m_started;
  double m_lastShown;
  double m_rateTime;
  u64 m_rateFresh = 0;
  double m_rate = -1;
  bool m_lineOpen = false;
};

}  // namespace larkspur::cli
