// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/guid_text.h"

namespace larkspur {
namespace {

constexpr size_t kTextLength = 36;

std::optional<u8> HexDigit(u8 digit) {
  if (digit >= '0' && digit <= '9') return static_cast<u8>(digit - '0');
  const u8 lower = static_cast<u8>(digit | 0x20);
  if (lower >= 'a' && lower <= 'f') return static_cast<u8>(lower - 'a' + 10);
  return std::nullopt;
}

bool IsDashPlace(size_t index) {
  return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

std::optional<GuidBytes> ParseGuidText(std::span<const u8> text) {
  if (text.size() < kTextLength) return std::nullopt;
  GuidBytes guid{};
  size_t digits = 0;
  for (size_t i = 0; i < kTextLength; ++i) {
    if (IsDashPlace(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const auto digit = HexDigit(text[i]);
    if (!digit) return std::nullopt;
    guid[digits / 2] = static_cast<u8>(guid[digits / 2] << 4 | *digit);
    ++digits;
  }
  return guid;
}

}  // namespace larkspur
