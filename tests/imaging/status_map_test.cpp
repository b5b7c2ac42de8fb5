// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/status_map.h"

#include <gtest/gtest.h>

#include "fakes/images.h"

namespace larkspur {
namespace {

TEST(StatusMap, TellsOfAnyRangeWhatTheImageTells) {
  const auto image = fakes::CreateImage(fakes::MakeStore(), 1000);
  image->Write(10, fakes::Pattern(10, 300).data(), 300);
  for (const u64 sector : {5u, 20u, 21u, 999u}) image->MarkSectorBad(sector);
  const StatusMap map(image.get());
  EXPECT_EQ(map.Sectors(), 1000u);
  fakes::RandomSource random;
  for (int turn = 0; turn < 300; ++turn) {
    const u64 first = random.Below(1000), count = random.Below(1001 - first);
    const StatusCounts got = map.Count(first, count);
    const StatusCounts expected = CountStatuses(image.get(), first, count);
    EXPECT_EQ(got.present, expected.present) << random.seed;
    EXPECT_EQ(got.unreadable, expected.unreadable) << random.seed;
    EXPECT_EQ(got.missing, expected.missing) << random.seed;
  }
  EXPECT_TRUE(map.IsPresent(22, 288));
  EXPECT_FALSE(map.IsPresent(21, 2));
  EXPECT_EQ(map.Count(990, 100).missing, 99u);  // past the end
  EXPECT_EQ(map.Count(5000, kNowhere).missing, kNowhere - 5000);
}

}  // namespace
}  // namespace larkspur
