// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "ui/model/layout.h"

namespace larkspur {
namespace {

constexpr SectionHeights kSections[] = {{16, 60, false}, {16, 40, true}, {16, 30, false}};

TEST(StackSections, PutsOneBelowTheOther) {
  const SectionStack stack = StackSections(kSections, 200, 6, 0);
  ASSERT_EQ(stack.places.size(), 3u);
  EXPECT_EQ(stack.places[0].heading, (Box{6, 6, 188, 16}));
  EXPECT_EQ(stack.places[0].body, (Box{6, 28, 188, 60}));
  // A folded one takes the room of its heading alone.
  EXPECT_EQ(stack.places[1].heading, (Box{6, 94, 188, 16}));
  EXPECT_EQ(stack.places[1].body.height, 0);
  EXPECT_EQ(stack.places[2].heading, (Box{6, 116, 188, 16}));
  EXPECT_EQ(stack.places[2].body, (Box{6, 138, 188, 30}));
  EXPECT_EQ(stack.height, 174);
}

TEST(StackSections, ScrollsThePlacesAndNotTheHeight) {
  const SectionStack stack = StackSections(kSections, 200, 6, 50);
  EXPECT_EQ(stack.places[0].heading.y, -44);
  EXPECT_EQ(stack.places[2].body.y, 88);
  EXPECT_EQ(stack.height, 174);
}

TEST(StackSections, SurvivesNoRoomAndNoSections) {
  EXPECT_EQ(StackSections(kSections, 4, 6, 0).places[0].body.width, 0);
  EXPECT_TRUE(StackSections({}, 200, 6, 0).places.empty());
}

TEST(ScrollOffset, EndsWhereTheLastLineIsSeen) {
  EXPECT_EQ(ScrollOffset(30, 174, 100), 30);
  EXPECT_EQ(ScrollOffset(500, 174, 100), 74);
  EXPECT_EQ(ScrollOffset(-1, 174, 100), 0);
  EXPECT_EQ(ScrollOffset(30, 80, 100), 0);
}

}  // namespace
}  // namespace larkspur
