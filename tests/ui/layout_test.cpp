// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Where things stand, and who gets how much of too little room.

#include "ui/model/layout.h"

#include <ostream>

#include <gtest/gtest.h>

#include "ui/model/contrast.h"
#include "ui/model/geometry.h"
#include "ui/model/text_room.h"

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
  EXPECT_EQ(ButtonRow(2, 80, -40, 24, {350, 360}, kMetrics, 96),
            (std::vector<Box>{{174, 320, 80, 24}, {260, 320, 80, 24}}));
  EXPECT_EQ(ButtonRow(2, 160, -40, 24, {700, 720}, kMetrics, 192),
            (std::vector<Box>{{348, 640, 160, 48}, {520, 640, 160, 48}}));
  EXPECT_EQ(ButtonRowWidth(2, 80, kMetrics, 96), 166);
  EXPECT_TRUE(ButtonRow(0, 80, -40, 24, {350, 360}, kMetrics, 96).empty());
  EXPECT_EQ(ButtonRowWidth(0, 80, kMetrics, 96), 0);
}

constexpr SectionHeights kSections[] = {{16, 60, false}, {16, 40, true}, {16, 30, false}};

// A folded section takes the room of its heading alone.
TEST(StackSections, PutsOneBelowTheOther) {
  for (const i32 scrolled : {0, 50}) {
    const SectionStack stack = StackSections(kSections, 200, 6, scrolled);
    ASSERT_EQ(stack.places.size(), 3u);
    EXPECT_EQ(stack.places[0].heading, (Box{6, 6 - scrolled, 188, 16}));
    EXPECT_EQ(stack.places[0].body, (Box{6, 28 - scrolled, 188, 60}));
    EXPECT_EQ(stack.places[1].heading, (Box{6, 94 - scrolled, 188, 16}));
    EXPECT_EQ(stack.places[1].body.height, 0);
    EXPECT_EQ(stack.places[2].heading, (Box{6, 116 - scrolled, 188, 16}));
    EXPECT_EQ(stack.places[2].body, (Box{6, 138 - scrolled, 188, 30}));
    EXPECT_EQ(stack.height, 174);
  }
  EXPECT_EQ(StackSections(kSections, 4, 6, 0).places[0].body.width, 0) << "no room";
  EXPECT_TRUE(StackSections({}, 200, 6, 0).places.empty());
}

TEST(ScrollOffset, EndsWhereTheLastLineIsSeen) {
  EXPECT_EQ(ScrollOffset(30, 174, 100), 30);
  EXPECT_EQ(ScrollOffset(500, 174, 100), 74);
  EXPECT_EQ(ScrollOffset(-1, 174, 100), 0);
  EXPECT_EQ(ScrollOffset(30, 80, 100), 0);
}

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

TEST(ColumnWidthsTest, OneColumnTakesAndGives) {
  struct Row {
    std::vector<ColumnNeed> needs;
    i32 room;
    std::vector<i32> widths;
  };
  const Row rows[] = {
      {{}, 100, {}},
      {{{30}, {40}}, 100, {30, 40}},
      {{{30, true, 20}, {40}}, 100, {60, 40}},
      {{{90, true, 20}, {40}}, 100, {60, 40}},
      {{{90, true, 20}, {40}}, 50, {20, 40}},
      {{{10, true, 20}, {40}}, 5, {10, 40}},
      {{{30}, {40, true, 10}, {50}}, 100, {30, 20, 50}},
  };
  for (const Row& row : rows) EXPECT_EQ(ColumnWidths(row.needs, row.room), row.widths) << row.room;
}

TEST(ShortenedTextTest, TheEndIsSeen) {
  const auto widthOf = [](std::u16string_view text) { return static_cast<i32>(text.size()); };
  struct Row {
    const char16_t* text;
    i32 room;
    const char16_t* shown;
  };
  const Row rows[] = {
      {u"", 0, u""},
      {u"C:\\disk.img", 11, u"C:\\disk.img"},
      {u"C:\\some folder\\another\\disk.img", 16, u"C:\\so\u2026r\\disk.img"},
      {u"abcdef", 1, u"\u2026"},
      {u"abcdef", 0, u"\u2026"},
      {u"\U0001F4BE\U0001F4BE\U0001F4BE\U0001F4BE", 5, u"\u2026\U0001F4BE\U0001F4BE"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(ShortenedText(row.text, row.room, widthOf), row.shown) << row.room;
  }
}

TEST(ContrastTest, DarkIsNotReadOnDark) {
  const struct {
    u32 text, background;
    bool legible;
  } cases[] = {{0x404040, 0xF0F0F0, true},  {0x404040, 0x202020, false},
               {0xFFFFFF, 0, true},         {0, 0, false},
               {0xFF4040, 0xF0F0F0, true},  {0xFF4040, 0x202020, false},
               {0xC0C0C0, 0xF0F0F0, false}, {0xC0C0C0, 0x202020, true}};
  for (const auto& c : cases) {
    EXPECT_EQ(IsLegible(c.text, c.background), c.legible) << std::hex << c.text << c.background;
  }
}

}  // namespace
}  // namespace larkspur
