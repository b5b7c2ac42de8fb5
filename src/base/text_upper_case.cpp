// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text_upper_case.h"

#include <algorithm>

#include "base/text.h"

namespace larkspur {

char16_t UpperCase(char16_t unit) {
  const text::UpperCaseRow* const end = text::kUpperCaseRows + text::kUpperCaseRowCount;
  const text::UpperCaseRow* const row =
      std::lower_bound(text::kUpperCaseRows, end, unit,
                       [](const text::UpperCaseRow& r, char16_t u) { return r.last < u; });
  if (row == end || unit < row->first || (unit - row->first) % row->step != 0) return unit;
  return static_cast<char16_t>(unit + row->delta);
}

}  // namespace larkspur
