// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// LocalToUtc with a zone of known rules: 5 hours behind, 4 in summer, since 2007 from the second
// Sunday of March to the first of November.

#include <string>

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "base/text.h"

namespace larkspur {
namespace {

TEST(LocalTime, FollowsTheRulesOfItsDate) {
  const char* const zone = getenv("TZ");
  const std::string before = zone ? zone : "";
  setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
  tzset();
  constexpr i64 kHour = 3600;
  constexpr i64 kWinter = 1325419200;  // 2012-01-01 12:00:00
  constexpr i64 kSummer = 1341144000;  // 2012-07-01 12:00:00
  EXPECT_EQ(LocalToUtc(kWinter), kWinter + 5 * kHour);
  EXPECT_EQ(LocalToUtc(kSummer), kSummer + 4 * kHour);
  EXPECT_EQ(LocalToUtc(0), 5 * kHour);
  EXPECT_EQ(LocalToUtc(-kHour), 4 * kHour);
  zone ? setenv("TZ", before.c_str(), 1) : unsetenv("TZ");
  tzset();
}

}  // namespace
}  // namespace larkspur
