// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// GUIDs written as text, as several volume managers keep them.

#include <array>
#include <optional>
#include <span>

#include "base/types.h"

namespace larkspur {

using GuidBytes = std::array<u8, 16>;

// The 16 bytes, in the order in which they are written, of text that begins with a GUID such as
// "06495aa3-fbfd-11e1-8cf9-52540061f5db".
std::optional<GuidBytes> ParseGuidText(std::span<const u8> text);

// The bytes as they stand on disk, the first three groups little-endian, of a GUID that a table
// spells out. Does not compile when the text is none.
consteval GuidBytes GuidOnDisk(const char (&text)[37]) {
  constexpr u8 kPlaces[] = {6, 4, 2, 0, 11, 9, 16, 14, 19, 21, 24, 26, 28, 30, 32, 34};
  const auto digit = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : throw "no hexadecimal digit";
  };
  GuidBytes guid{};
  for (size_t i = 0; i < guid.size(); ++i) {
    guid[i] = static_cast<u8>(digit(text[kPlaces[i]]) * 16 + digit(text[kPlaces[i] + 1]));
  }
  return guid;
}

}  // namespace larkspur
