// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The clocks that the system counts by.

#include "base/types.h"

namespace larkspur::platform {

// Milliseconds since boot, wrapping after 49.7 days.
u32 TickCount();

// Seconds of a clock that never goes back, from an arbitrary start.
double MonotonicSeconds();

// Turns seconds since 1970 that name a local time into UTC seconds, by the rules of the zone set on
// this machine for that date. The argument itself where the system cannot tell.
i64 LocalToUtcSeconds(i64 localSeconds);

void SleepMilliseconds(u32 milliseconds);

}  // namespace larkspur::platform
