// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/size_text.h"

#include <algorithm>

#include <fmt/core.h>

namespace larkspur {

std::string SizeText(u64 bytes) {
  if (bytes < 1024) return fmt::format("{} bytes", bytes);
  constexpr const char* kUnits[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  double size = static_cast<double>(bytes) / 1024;
  size_t unit = 0;
  for (; size >= 1023.95; ++unit) size /= 1024;
  return fmt::format("{:.1f} {}", size, kUnits[unit]);
}

std::string PercentText(u64 part, u64 whole) {
  if (whole == 0 || part == 0) return "0.0 %";
  if (part == whole) return "100.0 %";
  const double percent = static_cast<double>(part) * 100 / static_cast<double>(whole);
  return fmt::format("{:.1f} %", std::clamp(percent, 0.1, 99.9));
}

}  // namespace larkspur
