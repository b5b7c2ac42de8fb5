// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/map_grid.h"

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "imaging/map_picture.h"

namespace larkspur {
namespace {

// "present/unreadable/missing" of every cell.
std::string Dump(const MapGrid& grid) {
  std::string text;
  for (const StatusCounts& cell : grid.cells) {
    text += std::to_string(cell.present) + "/" + std::to_string(cell.unreadable) + "/" +
            std::to_string(cell.missing) + " ";
  }
  return text;
}

TEST(MapGrid, CountsEveryCell) {
  const auto store = std::make_shared<fakes::MemoryStore>();
  const Owned<cKVRSparseIO> image = fakes::CreateImage(store, 20);
  const std::vector<u8> data(6 * kSectorBytes, 1);
  ASSERT_EQ(image->Write(3, data.data(), 6), 6u);
  ASSERT_TRUE(image->MarkSectorBad(19));
  const struct {
    u64 maxCells;
    u64 perCell;
    const char* cells;
  } cases[] = {
      {19, 2, "0/0/2 1/0/1 2/0/0 2/0/0 1/0/1 0/0/2 0/0/2 0/0/2 0/0/2 0/1/1 "},
      {5, 4, "1/0/3 4/0/0 1/0/3 0/0/4 0/1/3 "},
      {4, 8, "5/0/3 1/0/7 0/1/3 "},
      {1, 32, "6/1/13 "},
  };
  for (const auto& c : cases) {
    const MapGrid grid = MakeMapGrid(image.get(), c.maxCells);
    EXPECT_EQ(grid.sectorsPerCell, c.perCell);
    EXPECT_EQ(Dump(grid), c.cells);
    EXPECT_EQ(grid.totals.present, 6u);
    EXPECT_EQ(grid.totals.missing, 13u);
  }
}

TEST(MapGrid, OneUnreadableSectorIsAlwaysSeen) {
  EXPECT_TRUE(LookOf({1000000, 1, 0}).unreadable);
  EXPECT_EQ(LookOf({3, 0, 0}).shade, 255);
  EXPECT_EQ(LookOf({0, 0, 3}).shade, 0);
  EXPECT_LT(LookOf({999999, 0, 1}).shade, 200) << "something is missing";
  EXPECT_GT(LookOf({1, 0, 999999}).shade, 50) << "something is there";
  EXPECT_EQ(LookOf({0, 0, 0}).shade, 0);
}

TEST(MapPicture, IsDrawnForAnySize) {
  for (const u64 sectors : {u64{1}, u64{127}, u64{32768}, u64{32769}, u64{1} << 24}) {
    const auto store = std::make_shared<fakes::MemoryStore>();
    const Owned<cKVRSparseIO> image = fakes::CreateImage(store, sectors);
    ASSERT_TRUE(image->MarkSectorBad(sectors - 1));
    EXPECT_EQ(DrawMapPng(image.get(), "a title").substr(1, 3), "PNG") << sectors;
    const std::string svg = DrawMapSvg(image.get(), "<&>");
    EXPECT_NE(svg.find("&lt;&amp;&gt;"), std::string::npos);
    EXPECT_NE(svg.find("unreadable: 1 ("), std::string::npos);
  }
}

}  // namespace
}  // namespace larkspur
