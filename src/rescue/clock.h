// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The time that the engine goes by, so that a test may bring its own. Any thread may ask.

#include "platform/clock.h"

namespace larkspur {

class RescueClock {
 public:
  virtual ~RescueClock() = default;
  virtual double Seconds() { return platform::MonotonicSeconds(); }
  virtual void Sleep(double seconds) {
    platform::SleepMilliseconds(static_cast<u32>(seconds * 1000));
  }
};

}  // namespace larkspur
