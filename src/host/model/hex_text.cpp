// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/hex_text.h"

#include <algorithm>
#include <charconv>

#include <fmt/core.h>

namespace larkspur::host {
namespace {

bool IsPrintable(u8 byte) {
  return byte >= 0x20 && byte < 0x7F;
}

void AppendLine(size_t place, std::span<const u8> bytes, std::string* text) {
  *text += fmt::format("{:04x} ", place);
  for (size_t i = 0; i < kHexBytesInLine; ++i) {
    if (i == kHexBytesInLine / 2) *text += ' ';
    *text += i < bytes.size() ? fmt::format(" {:02x}", bytes[i]) : "   ";
  }
  *text += "  ";
  for (const u8 byte : bytes) *text += IsPrintable(byte) ? static_cast<char>(byte) : '.';
  *text += "\r\n";
}

}  // namespace

std::string HexText(std::span<const u8> bytes) {
  std::string text;
  for (size_t place = 0; place < bytes.size(); place += kHexBytesInLine) {
    AppendLine(place, bytes.subspan(place, std::min(kHexBytesInLine, bytes.size() - place)), &text);
  }
  return text;
}

std::optional<u64> SectorFromText(std::u16string_view text) {
  std::string digits;
  for (const char16_t unit : text) {
    if (unit > 0x7F) return std::nullopt;
    digits += static_cast<char>(unit);
  }
  digits.erase(0, digits.find_first_not_of(" \t"));
  digits.erase(digits.find_last_not_of(" \t") + 1);
  const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
  const char* const first = digits.data() + (isHex ? 2 : 0);
  const char* const end = digits.data() + digits.size();
  u64 sector = 0;
  const auto [stop, error] = std::from_chars(first, end, sector, isHex ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return sector;
}

}  // namespace larkspur::host
