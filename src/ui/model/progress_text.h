// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a progress view says: share done, time gone by, time that is left.

#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

struct ProgressState {
  double share = -1;  // 0 to 1; below 0 while it is unknown
  double elapsedSeconds = 0;
};

// The texts of the key "ciom::progress".
struct ProgressTexts {
  std::u16string_view starting;
  std::u16string_view known;      // name, percent, elapsed h m s, left h m s
  std::u16string_view unknown;    // name, elapsed h m s
  std::u16string_view operation;  // stands in for a missing name
};

// Seconds that are left at the rate so far; below 0 while there is no rate.
double SecondsLeft(const ProgressState& state);

// The line for `name`; "Starting..." until a second has gone by or something is done.
std::u16string ProgressText(const ProgressTexts& texts, std::u16string_view name,
                            const ProgressState& state);

// Where a bar stands whose work has no known end: it comes ever nearer to the end without reaching
// it, half of the way in `halfSeconds`. 0 to below 1.
double SupposedShare(double elapsedSeconds, double halfSeconds);

}  // namespace larkspur
