// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/size_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace larkspur {
namespace {

constexpr double kLeastPercent = 0.1, kMostPercent = 99.9;  // of what is neither none nor all

// "12.3", with one decimal. The formatter takes ten times as long, and tables have thousands of
// them.
std::string Tenths(double number) {
  char text[32];
  char* end = std::to_chars(text, std::end(text), number, std::chars_format::fixed, 1).ptr;
  return std::string(text, end);
}

}  // namespace

std::string CountText(u64 count, std::string_view noun) {
  std::string text = std::to_string(count) + ' ';
  text += noun;
  return count == 1 ? text : text + 's';
}

std::string SizeText(u64 bytes) {
  if (bytes < 1024) return CountText(bytes, "byte");
  constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double size = static_cast<double>(bytes) / 1024;
  size_t unit = 0;
  for (; size >= 1023.95; ++unit) size /= 1024;
  return Tenths(size) + ' ' + kUnits[unit];
}

double ShownPercent(double share) {
  if (share <= 0) return 0;
  return share >= 1 ? 100 : std::clamp(share * 100, kLeastPercent, kMostPercent);
}

std::string PercentText(u64 part, u64 whole) {
  if (whole == 0) return "0.0%";
  const double percent = ShownPercent(static_cast<double>(part) / static_cast<double>(whole));
  // All but one of very many would round to all.
  return Tenths(part < whole ? std::min(percent, kMostPercent) : percent) + '%';
}

}  // namespace larkspur
