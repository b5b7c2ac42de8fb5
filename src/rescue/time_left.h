// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <algorithm>

#include "rescue/asked_source.h"

namespace larkspur {

// How long what is left will take, by how long the last requests took.
class TimeLeft {
 public:
  // A request for that many sectors took so long. `isOne`: they are one physical sector.
  void Learn(u64 sectors, double seconds, bool isOne) {
    if (isOne) return Follow(&m_oneSeconds, seconds);
    Follow(&m_sectorSeconds, seconds / static_cast<double>(sectors));
  }

  // For `together` sectors that are asked for with their neighbours and `alone` physical sectors by
  // themselves. `leastSeconds`: no sector takes less. Below 0 as long as nothing was asked for.
  double Seconds(u64 together, double alone, double leastSeconds) const {
    if (m_sectorSeconds == 0 && m_oneSeconds == 0) return -1;
    // Until one was asked alone: as long as a request took, at the least.
    const double each =
        m_oneSeconds > 0 ? m_oneSeconds : m_sectorSeconds * AskedSource::kMaxAskSectors;
    return std::max(m_sectorSeconds, leastSeconds) * static_cast<double>(together) + each * alone;
  }

 private:
  static void Follow(double* usual, double now) {
    *usual = *usual == 0 ? now : *usual + 0.1 * (now - *usual);
  }

  double m_sectorSeconds = 0;  // usual, of one sector among others
  double m_oneSeconds = 0;     // usual, of one physical sector by itself
};

}  // namespace larkspur
