// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/geometry.h"

#include <ostream>

#include <gtest/gtest.h>

namespace larkspur {

void PrintTo(const Box& box, std::ostream* out) {
  *out << box.x << "," << box.y << " " << box.width << "x" << box.height;
}

namespace {

struct PlaceCase {
  const char* name;
  AnchoredBox box;
  Size client;
  u32 dpi;
  Box place;
};

TEST(PlaceOf, MeasuresNegativeNumbersFromTheFarEdges) {
  const PlaceCase cases[] = {
      {"plain", {5, 25, 100, 22}, {350, 360}, 96, {5, 25, 100, 22}},
      {"as wide as the form less margins", {5, 0, -10, 18}, {350, 360}, 96, {5, 0, 340, 18}},
      {"at the right edge", {-25, 25, 20, 22}, {350, 360}, 96, {325, 25, 20, 22}},
      {"above the bottom edge", {5, -40, 80, 24}, {350, 360}, 96, {5, 320, 80, 24}},
      {"down to the bottom", {5, 120, -10, -125}, {350, 360}, 96, {5, 120, 340, 235}},
      {"at 150 %", {5, 25, -30, 22}, {525, 540}, 144, {8, 38, 480, 33}},
      {"at 200 %", {-25, -40, 20, -300}, {700, 720}, 192, {650, 640, 40, 120}},
      {"in a form that is too small", {5, 120, -10, -125}, {8, 60}, 96, {5, 120, 0, 0}},
      {"in no form at all", {-5, -5, -5, -5}, {0, 0}, 96, {-5, -5, 0, 0}},
  };
  for (const PlaceCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(PlaceOf(c.box, c.client, c.dpi), c.place);
  }
}

TEST(Scaled, RoundsToTheNearestPixelOnBothSidesOfZero) {
  EXPECT_EQ(Scaled(5, 96), 5);
  EXPECT_EQ(Scaled(5, 144), 8);
  EXPECT_EQ(Scaled(-5, 144), -8);
  EXPECT_EQ(Scaled(3, 120), 4);
  EXPECT_EQ(Scaled(1, 120), 1);
  EXPECT_EQ(Scaled(-1, 120), -1);
  EXPECT_EQ(Scaled(0, 480), 0);
  // Nothing overflows on the way.
  EXPECT_EQ(Scaled(10'000'000, 960), 100'000'000);
}

struct CentreCase {
  const char* name;
  Box over;
  Size size;
  Box place;
};

TEST(CentredOver, StaysInTheWorkArea) {
  const Box workArea{100, 50, 1000, 800};
  const CentreCase cases[] = {
      {"in the middle", {200, 150, 600, 400}, {300, 200}, {350, 250, 300, 200}},
      {"larger than what it is over", {400, 300, 100, 100}, {300, 200}, {300, 250, 300, 200}},
      {"over the left upper corner", {0, 0, 200, 100}, {300, 200}, {100, 50, 300, 200}},
      {"over the right lower corner", {1000, 750, 200, 200}, {300, 200}, {800, 650, 300, 200}},
      {"larger than the work area", {0, 0, 100, 100}, {2000, 900}, {100, 50, 2000, 900}},
      {"far outside", {-5000, 9000, 10, 10}, {300, 200}, {100, 650, 300, 200}},
  };
  for (const CentreCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(CentredOver(c.over, c.size, workArea), c.place);
  }
}

}  // namespace
}  // namespace larkspur
