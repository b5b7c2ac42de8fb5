// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/icon_shapes.h"

#include <set>

#include <gtest/gtest.h>

namespace larkspur {
namespace {

u32 Alpha(u32 pixel) {
  return pixel >> 24;
}

// The icon's weight: how much of the square it covers, 0 to 1.
double Covered(const IconPixels& icon) {
  double sum = 0;
  for (const u32 pixel : icon.pixels) sum += Alpha(pixel) / 255.0;
  return sum / static_cast<double>(icon.pixels.size());
}

TEST(RenderIcon, KnowsEveryNumberOfTheThemeAtEverySize) {
  for (u32 number = kFirstIcon; number <= kLastIcon; ++number) {
    SCOPED_TRACE(number);
    double least = 1, greatest = 0;
    for (const u32 extent : {14u, 16u, 21u, 24u, 32u, 48u, 64u}) {
      const auto icon = RenderIcon(number, extent);
      ASSERT_TRUE(icon);
      ASSERT_EQ(icon->pixels.size(), size_t{extent} * extent);
      least = std::min(least, Covered(*icon));
      greatest = std::max(greatest, Covered(*icon));
    }
    // The same shape at every size: not empty, not a full square, and as heavy everywhere.
    EXPECT_GT(least, 0.1);
    EXPECT_LT(greatest, 0.9);
    EXPECT_LT(greatest - least, 0.03);
  }
}

TEST(RenderIcon, RefusesWhatItDoesNotKnow) {
  EXPECT_FALSE(RenderIcon(kFirstIcon - 1, 16));
  EXPECT_FALSE(RenderIcon(kLastIcon + 1, 16));
  EXPECT_FALSE(RenderIcon(kIconAccept, 0));
  EXPECT_FALSE(RenderIcon(kIconAccept, 513));
  EXPECT_TRUE(RenderIcon(kIconAccept, 512));
}

TEST(RenderIcon, HasSoftEdgesAndFirmInsides) {
  const auto stop = RenderIcon(kIconStop, 32);
  ASSERT_TRUE(stop);
  EXPECT_EQ(stop->pixels[16 * 32 + 16], 0xFFD23B3B);  // in the middle
  EXPECT_EQ(stop->pixels[0], 0u);                     // in the corner
  const auto error = RenderIcon(kIconError, 32);
  std::set<u32> alphas;
  for (const u32 pixel : error->pixels) alphas.insert(Alpha(pixel));
  EXPECT_GT(alphas.size(), 10u);
}

TEST(Faded, IsGreyAndHalfTransparent) {
  const IconPixels faded = Faded({2, {0xFF3264C8, 0x00000000, 0x80FFFFFF, 0xFF000000}});
  EXPECT_EQ(faded.pixels, (std::vector<u32>{0x7F5F5F5F, 0x00000000, 0x40FFFFFF, 0x7F000000}));
}

}  // namespace
}  // namespace larkspur
