// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/extent_set.h"

#include <random>

#include <gtest/gtest.h>

namespace larkspur {
namespace {

// The same set, a bit a sector.
struct Model {
  std::vector<bool> bits;

  void Fill(SectorRange range, bool value) {
    for (u64 s = range.first; s < range.End(); ++s) bits[s] = value;
  }
  std::optional<SectorRange> NextFrom(u64 sector) const {
    while (sector < bits.size() && !bits[sector]) ++sector;
    u64 end = sector;
    while (end < bits.size() && bits[end]) ++end;
    return end > sector ? std::optional(SectorRange{sector, end - sector}) : std::nullopt;
  }
  std::optional<SectorRange> LastBefore(u64 sector) const {
    while (sector > 0 && !bits[sector - 1]) --sector;
    u64 first = sector;
    while (first > 0 && bits[first - 1]) --first;
    return sector > first ? std::optional(SectorRange{first, sector - first}) : std::nullopt;
  }
};

TEST(ExtentSetTest, DoesAsASetOfBitsDoes) {
  // Small ranges make thousands of extents, so that chunks are split and emptied; large ones merge.
  for (const u64 largest : {3u, 40u, 4000u}) {
    constexpr u64 kSectors = 12000;
    std::mt19937_64 engine(largest);
    ExtentSet set;
    Model model{std::vector<bool>(kSectors)};
    for (int step = 0; step < 10000; ++step) {
      const u64 first = engine() % kSectors;
      const SectorRange range{first, std::min(engine() % largest, kSectors - first)};
      const bool adds = engine() % 5 < 3;
      adds ? set.Add(range) : set.Remove(range);
      model.Fill(range, adds);
      const u64 probe = engine() % kSectors;
      ASSERT_EQ(set.NextFrom(probe), model.NextFrom(probe)) << step;
      ASSERT_EQ(set.LastBefore(probe), model.LastBefore(probe)) << step;
      ASSERT_EQ(set.Contains(probe), model.bits[probe]) << step;
    }
    std::vector<bool> visited(kSectors);
    u64 lastEnd = kNowhere;
    set.Visit([&](SectorRange extent) {
      EXPECT_NE(extent.first, lastEnd) << "neighbours are merged";
      lastEnd = extent.End();
      for (u64 s = extent.first; s < extent.End(); ++s) visited[s] = true;
    });
    EXPECT_EQ(visited, model.bits);
    EXPECT_EQ(set.Sectors(), static_cast<u64>(std::count(visited.begin(), visited.end(), true)));
  }
}

TEST(ExtentSetTest, SetsAreCombined) {
  ExtentSet one, other;
  for (u64 s = 0; s < 100; s += 10) one.Add({s, 5});
  other.Add({3, 20});
  other.Add({90, 2});
  const ExtentSet both = one.Intersection(other);
  EXPECT_EQ(both.Sectors(), 2u + 5 + 3 + 2);
  one.Remove(other);
  EXPECT_EQ(one.Sectors(), 50u - 12);
  one.Add(both);
  EXPECT_EQ(one.Sectors(), 50u);
}

}  // namespace
}  // namespace larkspur
