// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/contrast.h"

#include <algorithm>
#include <cmath>

namespace larkspur {
namespace {

constexpr double kLeastContrast = 3, kStrayLight = 0.05;

double Luminance(u32 colour) {
  const auto linear = [colour](u32 shift) {
    return std::pow(static_cast<double>((colour >> shift) & 0xFF) / 255, 2.2);
  };
  return 0.2126 * linear(0) + 0.7152 * linear(8) + 0.0722 * linear(16);
}

}  // namespace

bool IsLegible(u32 text, u32 background) {
  const double one = Luminance(text) + kStrayLight, other = Luminance(background) + kStrayLight;
  return std::max(one, other) / std::min(one, other) >= kLeastContrast;
}

}  // namespace larkspur
