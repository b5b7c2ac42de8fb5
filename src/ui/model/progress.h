// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How far a job has come, and what a progress view says of it.

#include <atomic>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// How far a job has come: written by its thread, read by the view that shows it.
class cProgressFeed {
 public:
  static constexpr double kUnknown = -1;

  // The share that is done, 0 to 1, and what of it was done before the job began.
  void Report(double share, double atStart = 0) {
    m_atStart = atStart;
    m_share = share;
  }
  // Where a bar may stand while the share is unknown, 0 to 1.
  void Suppose(double share) { m_supposed = share; }
  void Reset() {
    m_share = kUnknown;
    m_atStart = 0;
    m_supposed = 0;
  }

  double Share() const { return m_share; }
  double ShareAtStart() const { return m_atStart; }
  double Bar() const {
    const double share = m_share;
    return share >= 0 ? share : m_supposed.load();
  }

 private:
  std::atomic<double> m_share{kUnknown};
  std::atomic<double> m_atStart{0};
  std::atomic<double> m_supposed{0};
};

struct ProgressState {
  double share = -1;  // 0 to 1; below 0 while it is unknown
  double elapsedSeconds = 0;
  double shareAtStart = 0;  // done by earlier runs
};

// The texts of the key "ciom::progress".
struct ProgressTexts {
  std::u16string_view starting;
  std::u16string_view known;      // name, percent, elapsed h m s, left h m s
  std::u16string_view unknown;    // name, elapsed h m s
  std::u16string_view operation;  // stands in for a missing name
};

// Seconds that are left at this run's rate so far; below 0 while there is no rate.
double SecondsLeft(const ProgressState& state);

// The line for `name`; "Starting..." until a second has gone by or something is done.
std::u16string ProgressText(const ProgressTexts& texts, std::u16string_view name,
                            const ProgressState& state);

// Where a bar stands whose work has no known end: it comes ever nearer to the end without reaching
// it, half of the way in `halfSeconds`. 0 to below 1.
double SupposedShare(double elapsedSeconds, double halfSeconds);

}  // namespace larkspur
