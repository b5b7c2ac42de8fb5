// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>

#include "base/types.h"

namespace larkspur {

// Decimal digits, with zeros before them up to `width`.
std::u16string NumberText(u64 number, size_t width = 1);

// Gigabytes of 1073741824 bytes with two decimals, cut and not rounded: "1.00GB".
std::u16string GigabytesText(u64 bytes);

}  // namespace larkspur
