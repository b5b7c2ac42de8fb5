// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How far a job has come: written by its thread, read by the view that shows it.

#include <atomic>

namespace larkspur {

class cProgressFeed {
 public:
  static constexpr double kUnknown = -1;

  // The share that is done, 0 to 1.
  void Report(double share) { m_share = share; }
  // Where a bar may stand while the share is unknown, 0 to 1.
  void Suppose(double share) { m_supposed = share; }
  void Reset() {
    m_share = kUnknown;
    m_supposed = 0;
  }

  double Share() const { return m_share; }
  double Bar() const {
    const double share = m_share;
    return share >= 0 ? share : m_supposed.load();
  }

 private:
  std::atomic<double> m_share{kUnknown};
  std::atomic<double> m_supposed{0};
};

}  // namespace larkspur
