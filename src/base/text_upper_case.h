// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The upper-case mapping as it is stored; text_upper_case_generated.cpp holds the rows.

#include "base/types.h"

namespace larkspur::text {

// The letters first, first + step, ... last turn into letter + delta (modulo 2^16).
struct UpperCaseRow {
  char16_t first, last;
  u16 step, delta;
};

extern const UpperCaseRow kUpperCaseRows[];  // by ascending letters, none in two rows
extern const size_t kUpperCaseRowCount;

}  // namespace larkspur::text
