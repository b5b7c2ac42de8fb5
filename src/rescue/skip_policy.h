// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where to read next on a disk that reads badly here: what is slow is told by what is usual on this
// disk, and how far to skip grows while it stays bad.

#include <algorithm>
#include <array>

#include "base/types.h"

namespace larkspur {

// Tells slow requests from usual ones. What is usual is the median of the time that a sector takes,
// followed by small steps, so that no single request moves it by much.
class SlowRequests {
 public:
  // Takes the time of a request that delivered its sectors; whether requests have become slow.
  bool Add(double seconds, u32 sectors) {
    const double each = seconds / sectors;
    const double usual = m_usual;
    Learn(each);
    const bool isSlow =
        m_samples > kFirstSamples && each > kSlowFactor * usual && seconds > kLeastSeconds;
    m_slowInRow = !isSlow ? 0 : each > kVerySlowFactor * usual ? m_slowInRow + 2 : m_slowInRow + 1;
    // A single hiccup is none of the disk's business: a head that moved, a busy machine.
    return m_slowInRow >= 2;
  }

  // Forgets what is usual: another way of reading, such as backwards, has its own time.
  void Reset() { *this = SlowRequests(); }

 private:
  static constexpr double kSlowFactor = 3;
  static constexpr double kVerySlowFactor = 30;
  static constexpr double kLeastSeconds = 0.005;  // below it a machine's own noise is larger
  static constexpr double kStep = 1.05;
  static constexpr u32 kFirstSamples = 5;

  void Learn(double each) {
    if (m_samples < kFirstSamples) {
      m_first[m_samples++] = each;
      std::array<double, kFirstSamples> sorted = m_first;
      std::sort(sorted.begin(), sorted.begin() + m_samples);
      m_usual = sorted[m_samples / 2];
      return;
    }
    m_samples = kFirstSamples + 1;
    m_usual = each > m_usual ? std::min(each, m_usual * kStep) : std::max(each, m_usual / kStep);
  }

  double m_usual = 0;
  std::array<double, kFirstSamples> m_first{};
  u32 m_samples = 0;
  u32 m_slowInRow = 0;
};

// How far to skip after a request that failed or was slow: a mebibyte first, twice as far each time
// until one goes well, at most a thirty-second of the disk.
class SkipPolicy {
 public:
  // Never skips.
  SkipPolicy() = default;
  explicit SkipPolicy(u64 sourceSectors)
      : m_largest(std::max(kFirstSkip, sourceSectors / kLargestPart)) {}

  // The sectors to skip after a request.
  u64 Next(bool wentBadly) {
    if (m_largest == 0) return 0;
    m_skip = !wentBadly ? 0 : m_skip == 0 ? kFirstSkip : std::min(m_skip * 2, m_largest);
    return m_skip;
  }

 private:
  static constexpr u64 kFirstSkip = 2048;
  static constexpr u64 kLargestPart = 32;

  u64 m_largest = 0;
  u64 m_skip = 0;
};

}  // namespace larkspur
