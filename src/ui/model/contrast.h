// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Whether text of one colour can be read on another. Colours are 0x00BBGGRR, as the system has
// them.

#include "base/types.h"

namespace larkspur {

// True from a contrast of 3 to 1 on, by relative luminance.
bool IsLegible(u32 text, u32 background);

}  // namespace larkspur
