// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/size_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace larkspur {
namespace {

// "12.3 ", with one decimal. The formatter takes ten times as long, and tables have thousands of
// them.
std::string Tenths(double number) {
  char text[32];
  char* end = std::to_chars(text, std::end(text), number, std::chars_format::fixed, 1).ptr;
  return std::string(text, end) + ' ';
}

}  // namespace

std::string SizeText(u64 bytes) {
  if (bytes < 1024) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double size = static_cast<double>(bytes) / 1024;
  size_t unit = 0;
  for (; size >= 1023.95; ++unit) size /= 1024;
  return Tenths(size) + kUnits[unit];
}

std::string PercentText(u64 part, u64 whole) {
  if (whole == 0 || part == 0) return "0.0 %";
  if (part == whole) return "100.0 %";
  const double percent = static_cast<double>(part) * 100 / static_cast<double>(whole);
  return Tenths(std::clamp(percent, 0.1, 99.9)) + '%';
}

}  // namespace larkspur
