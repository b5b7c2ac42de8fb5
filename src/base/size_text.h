// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Counts, sizes and shares as people read them.

#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// "1 sector", "3 sectors".
std::string CountText(u64 count, std::string_view noun);

// "512 bytes", "64.0 KiB", "3.6 TiB".
std::string SizeText(u64 bytes);

// "12.3%"; never "100.0%" or "0.0%" unless that is exact.
std::string PercentText(u64 part, u64 whole);
// The percentage of a share from 0 to 1 for texts that show one decimal, by the same rule.
double ShownPercent(double share);

}  // namespace larkspur
