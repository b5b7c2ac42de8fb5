// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where to read next on a disk that reads badly here: what is slow is told by what is usual on this
// disk, and how far to skip grows while it stays bad.

#include <algorithm>
#include <array>
#include <utility>

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

// How far to skip after a request that failed or was slow. A bad area ends where as much has been
// read well as was skipped last; until then each skip is longer than the one before. The next area
// begins with a skip that would have crossed the last one, or half of that where it was too long:
// what is usual on this disk is found by itself, single spots or bands of many mebibytes. At most a
// thirty-second of the disk is skipped at once.
class SkipPolicy {
 public:
  // Never skips.
  SkipPolicy() = default;
  explicit SkipPolicy(u64 sourceSectors)
      : m_largest(std::max(kFirstSkip, sourceSectors / kLargestPart)) {}
  // Skips as far as a request reaches, each time.
  static SkipPolicy OnePiece() {
    SkipPolicy policy;
    policy.m_largest = kLeastSkip;
    return policy;
  }

  // The sectors to skip after a request for `sectors`, of which all came unless it went badly.
  u64 Next(bool wentBadly, u64 sectors) {
    if (m_largest == 0) return 0;
    if (!wentBadly) {
      m_readWell += sectors;
      return 0;
    }
    m_skip = m_readWell < m_skip ? Grown() : FirstOfArea();
    m_readWell = 0;
    return m_skip;
  }

 private:
  static constexpr u64 kFirstSkip = 512;
  static constexpr u64 kLeastSkip = 128;
  static constexpr u64 kLargeSkip = 2048;
  static constexpr u64 kLargestPart = 32;

  u64 Grown() {
    m_hasGrown = true;
    return std::min(m_skip * (m_skip < kLargeSkip ? 2 : 4), m_largest);
  }
  u64 FirstOfArea() {
    if (m_skip == 0) return std::min(kFirstSkip, m_largest);
    return std::exchange(m_hasGrown, false) ? m_skip : std::max(m_skip / 2, kLeastSkip);
  }

  u64 m_largest = 0;
  u64 m_skip = 0;
  u64 m_readWell = 0;       // since the last skip
  bool m_hasGrown = false;  // within this area
};

}  // namespace larkspur
