// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "ui/model/layout.h"

namespace larkspur {
namespace {

struct SplitCase {
  const char* name;
  i32 wanted;
  SplitRange range;
  i32 position;
};

TEST(SplitPosition, KeepsBothNeighboursTheirLeast) {
  const SplitRange usual{400, 5, 100, 150};
  const SplitCase cases[] = {
      {"as wanted", 200, usual, 200},
      {"too small", 20, usual, 100},
      {"too large", 399, usual, 245},
      {"below zero", -50, usual, 100},
      {"room for one only: the first one's", 30, {120, 5, 100, 150}, 100},
      {"not even for that", 30, {50, 5, 100, 150}, 45},
      {"smaller than the bar", 30, {3, 5, 100, 150}, 0},
      {"nothing at all", 30, {}, 0},
  };
  for (const SplitCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(SplitPosition(c.wanted, c.range), c.position);
  }
}

}  // namespace
}  // namespace larkspur
