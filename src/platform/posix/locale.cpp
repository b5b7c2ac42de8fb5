// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/locale.h"

#include <algorithm>
#include <compare>

#include "base/text.h"

namespace larkspur::platform {

u32 AnsiCodePage() {
  return 65001;
}

// By the characters' numbers: the program runs in no language of its own.
int CompareTexts(std::u16string_view one, std::u16string_view other) {
  const auto order = [](char16_t a, char16_t b) { return UpperCase(a) <=> UpperCase(b); };
  const auto found = std::lexicographical_compare_three_way(one.begin(), one.end(), other.begin(),
                                                            other.end(), order);
  return std::is_lt(found) ? -1 : std::is_gt(found) ? 1 : 0;
}

}  // namespace larkspur::platform
