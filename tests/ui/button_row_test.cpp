// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "ui/model/layout.h"

namespace larkspur {
namespace {

constexpr ButtonRowMetrics kMetrics{
    .padding = 10, .iconAndGap = 20, .gap = 6, .narrowest = 75, .marginRight = 10};

TEST(ButtonRow, AllButtonsAreAsWideAsTheWidestNeeds) {
  const std::vector<i32> shortTexts = {10, 20}, longTexts = {10, 120, 60};
  EXPECT_EQ(ButtonWidth(shortTexts, kMetrics, 96), 75);
  EXPECT_EQ(ButtonWidth(longTexts, kMetrics, 96), 150);
  // Texts are measured in pixels already, the rest is scaled.
  EXPECT_EQ(ButtonWidth(longTexts, kMetrics, 192), 180);
  EXPECT_EQ(ButtonWidth({}, kMetrics, 96), 75);
}

TEST(ButtonRow, EndsAtTheMarginOfTheRightEdge) {
  const auto row = ButtonRow(2, 80, -40, 24, {350, 360}, kMetrics, 96);
  ASSERT_EQ(row.size(), 2u);
  EXPECT_EQ(row[1], (Box{260, 320, 80, 24}));
  EXPECT_EQ(row[0], (Box{174, 320, 80, 24}));
  EXPECT_EQ(ButtonRowWidth(2, 80, kMetrics, 96), 166);
}

TEST(ButtonRow, ScalesGapsAndMargins) {
  const auto row = ButtonRow(2, 160, -40, 24, {700, 720}, kMetrics, 192);
  EXPECT_EQ(row[1], (Box{520, 640, 160, 48}));
  EXPECT_EQ(row[0], (Box{348, 640, 160, 48}));
}

TEST(ButtonRow, NoButtonsNeedNoRoom) {
  EXPECT_TRUE(ButtonRow(0, 80, -40, 24, {350, 360}, kMetrics, 96).empty());
  EXPECT_EQ(ButtonRowWidth(0, 80, kMetrics, 96), 0);
}

}  // namespace
}  // namespace larkspur
