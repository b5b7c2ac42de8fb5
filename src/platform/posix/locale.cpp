// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/locale.h"

#include <algorithm>

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
  return found < 0 ? -1 : found > 0 ? 1 : 0;
}

}  // namespace larkspur::platform
