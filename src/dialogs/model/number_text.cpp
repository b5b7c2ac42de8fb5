// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/number_text.h"

#include <algorithm>

namespace larkspur {
namespace {

constexpr u64 kHundredthOfGigabyte = 10737418;

}  // namespace

std::u16string NumberText(u64 number, size_t width) {
  std::u16string text;
  for (; number != 0 || text.empty(); number /= 10) {
    text += static_cast<char16_t>(u'0' + number % 10);
  }
  text.resize(std::max(text.size(), width), u'0');
  std::reverse(text.begin(), text.end());
  return text;
}

std::u16string GigabytesText(u64 bytes) {
  const u64 hundredths = bytes / kHundredthOfGigabyte;
  return NumberText(hundredths / 100) + u"." + NumberText(hundredths % 100, 2) + u"GB";
}

}  // namespace larkspur
