// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "platform/clock.h"

namespace larkspur {

// Asks `isThere` at once and then four times a second until it says so or `seconds` are over.
template <typename IsThere>
bool WaitFor(double seconds, IsThere isThere) {
  constexpr u32 kBetweenMilliseconds = 250;
  const double end = platform::MonotonicSeconds() + seconds;
  while (!isThere()) {
    if (platform::MonotonicSeconds() >= end) return false;
    platform::SleepMilliseconds(kBetweenMilliseconds);
  }
  return true;
}

}  // namespace larkspur
