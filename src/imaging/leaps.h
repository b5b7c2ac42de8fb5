// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The order in which a failing source is read: what reads well comes first, since a disk may die
// over its bad areas. A pass goes from front to back and leaps over what lies behind a request that
// went hard, further each time until one goes well. Later passes go back to what was left, and the
// last leaves nothing.

#include <algorithm>

#include "base/types.h"

namespace larkspur {

class cLeaps {
 public:
  // A request went hard when sectors of it were refused, or when it took longer: a healthy disk
  // needs milliseconds, one that tries again and again needs seconds. One that only had to wake up
  // loses nothing by a leap.
  static constexpr double kHardSeconds = 2;
  // What each pass leaves behind the first hard request, in sectors: a mebibyte, so that a spot
  // costs little time; then 64 KiB, to come close to the spot; then nothing.
  static constexpr u32 kPasses[] = {2048, 128, 0};

  // Leaps over nothing.
  cLeaps() = default;
  // For one pass over a source of `sectors`.
  cLeaps(u32 firstLeap, u64 sectors)
      : m_first(firstLeap), m_largest(std::max<u64>(firstLeap, sectors / kLargestPart)) {}

  bool LeavesAnything() const { return m_first > 0; }
  // The pass leaves what lies before this sector.
  u64 LeavesBefore() const { return m_leavesBefore; }

  // Where to go on behind a request that ended before sector `end`; at least `end`.
  u64 Next(u64 end, bool wentHard) {
    const u64 further = m_leap == 0 ? m_first : std::min(m_leap * 2, m_largest);
    m_leap = wentHard ? further : 0;
    if (m_leap > 0) m_leavesBefore = end + m_leap;
    return end + m_leap;
  }

 private:
  // A dead head leaves areas of many GiB, but what reads behind them should not be missed by much.
  static constexpr u64 kLargestPart = 128;

  u64 m_first = 0;
  u64 m_largest = 0;
  u64 m_leap = 0;  // the last one, 0 when the last request went well
  u64 m_leavesBefore = 0;
};

}  // namespace larkspur
