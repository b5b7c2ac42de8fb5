// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "fakes/images.h"
#include "host/model/map_watch.h"
#include "host/model/map_words.h"
#include "host/model/settings.h"
#include "platform/clock.h"

namespace larkspur::host {
namespace {

TEST(MapFieldTest, CellsAreAsLargeAsFit) {
  struct Row {
    size_t count;
    i32 width, height, cell, columns;
  };
  constexpr Row kRows[] = {
      {1, 640, 480, 64, 10},   {100, 100, 100, 10, 10}, {101, 100, 100, 9, 11},
      {4096, 500, 350, 6, 83}, {4096, 10, 10, 1, 10},   {5, 0, 0, 1, 1},
  };
  for (const Row& row : kRows) {
    const MapField field = FieldOf(row.count, row.width, row.height);
    EXPECT_EQ(field.cell, row.cell) << row.count << " in " << row.width << "x" << row.height;
    EXPECT_EQ(field.columns, row.columns);
  }
}

TEST(MapFieldTest, APixelTellsItsCell) {
  const MapField field{10, 4};
  const struct {
    i32 x, y;
    int cell;  // -1: none
  } rows[] = {{0, 0, 0},   {39, 9, 3},   {40, 0, -1}, {5, 25, 8},
              {15, 25, 9}, {25, 25, -1}, {-1, 0, -1}};
  for (const auto& row : rows) {
    const auto cell = CellAt(field, 10, row.x, row.y);
    EXPECT_EQ(cell ? static_cast<int>(*cell) : -1, row.cell) << row.x << ", " << row.y;
  }
}

TEST(MapFieldTest, KeysMoveFromCellToCellAndStayInside) {
  const MapField field{10, 4};
  constexpr struct {
    size_t from;
    i32 cells, rows;
    size_t to;
  } kRows[] = {{0, 1, 0, 1}, {3, 1, 0, 4}, {4, -1, 0, 3}, {0, -1, 0, 0}, {9, 1, 0, 9},
               {1, 0, 1, 5}, {5, 0, 1, 9}, {6, 0, 1, 6},  {2, 0, -1, 2}, {9, 0, -1, 5}};
  for (const auto& row : kRows) {
    EXPECT_EQ(CellFrom(field, 10, row.from, row.cells, row.rows), row.to)
        << row.from << " by " << row.cells << ", " << row.rows;
  }
}

TEST(MapWordsTest, CellsAndColoursAreTold) {
  MapGrid grid;
  grid.sectors = 10;
  grid.sectorsPerCell = 8;
  grid.cells = {{8, 0, 0}, {0, 1, 1}};
  EXPECT_EQ(MapCell(grid, 0), u"Sectors 0 to 7: 8 present, 0 unreadable, 0 missing");
  EXPECT_EQ(MapCell(grid, 1), u"Sectors 8 to 9: 0 present, 1 unreadable, 1 missing");
  const std::vector<LegendEntry> legend = MapLegend();
  for (size_t i = 0; i < legend.size(); ++i) {
    for (size_t j = 0; j < i; ++j) EXPECT_NE(legend[i].colour, legend[j].colour) << i << " " << j;
  }
}

TEST(MapWordsTest, CountsAreTold) {
  EXPECT_EQ(MapCounts({90, 2, 8}, 100),
            u"Present 90 sectors (90.0%), unreadable 2 (2.0%), missing 8 (8.0%)");
}

TEST(MapWatchTest, WhatSomebodyElseWritesIsCounted) {
  const auto store = fakes::MakeStore();
  const auto writer = fakes::CreateImage(store, 256);
  const auto reader = fakes::OpenImage(store, true);
  std::atomic<int> news{0};
  cMapWatch watch([&news] { ++news; });
  EXPECT_FALSE(watch.Take());
  const double began = platform::MonotonicSeconds();
  watch.Watch(reader.get());
  const auto waitFor = [&news](int count) {
    for (int i = 0; i < 5000 && news < count; ++i) platform::SleepMilliseconds(1);
    return news >= count;
  };
  ASSERT_TRUE(waitFor(1));
  EXPECT_EQ(watch.Take()->totals.missing, 256u);
  const std::vector<u8> bytes = fakes::Pattern(0, 10);
  ASSERT_EQ(writer->Write(0, bytes.data(), 10), 10u);
  ASSERT_TRUE(waitFor(2));
  EXPECT_EQ(watch.Take()->totals.present, 10u);
  EXPECT_GE(platform::MonotonicSeconds(), began + cMapWatch::kLeastSeconds);
  watch.Watch(nullptr);
  EXPECT_FALSE(watch.Take());
}

TEST(HostSettingsTest, OnlyTheLanguageIsThere) {
  cSettings settings;
  settings.SetLanguage(5);
  u32 size = 0, language = 0;
  u8 two[2] = {0xEE, 0xEE};
  EXPECT_FALSE(settings.QuerySetting(15, &language, 4, &size));
  EXPECT_TRUE(settings.QuerySetting(16, &language, 4, &size));
  EXPECT_EQ(language, 5u);
  EXPECT_EQ(size, 4u);
  EXPECT_TRUE(settings.QuerySetting(16, two, 1, &size));
  EXPECT_EQ(two[0], 5);
  EXPECT_EQ(two[1], 0xEE);
}

}  // namespace
}  // namespace larkspur::host
