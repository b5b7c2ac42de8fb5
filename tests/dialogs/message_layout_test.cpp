// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/message_layout.h"

#include <gtest/gtest.h>

#include "base/path_text.h"

namespace larkspur {
namespace {

using Lines = std::vector<std::u16string>;

TEST(MessageLines, AreSplitAtLineFeeds) {
  const std::pair<std::u16string_view, Lines> cases[] = {
      {u"", {}},
      {u"one", {u"one"}},
      {u"one\n", {u"one"}},
      {u"one\ntwo", {u"one", u"two"}},
      {u"one\n\ntwo", {u"one", u"", u"two"}},
      {u"one\n\n", {u"one", u""}},
      {u"\n", {u""}},
      {u"\none", {u"", u"one"}},
      {u"one\r\ntwo", {u"one\r", u"two"}},
  };
  for (const auto& [text, lines] : cases) EXPECT_TRUE(MessageLines(text) == lines);
}

struct BreakCase {
  std::u16string_view line;
  i32 room;
  Lines pieces;
};

TEST(BrokenLine, BreaksAtBlanksAndElseBetweenCharacters) {
  const auto widthOf = [](std::u16string_view text) { return static_cast<i32>(text.size()) * 10; };
  const BreakCase cases[] = {
      {u"", 50, {u""}},
      {u"short", 50, {u"short"}},
      {u"two words", 50, {u"two", u"words"}},
      {u"two words", 60, {u"two", u"words"}},
      {u"one two three", 70, {u"one two", u"three"}},
      {u"withoutany", 40, {u"with", u"outa", u"ny"}},
      {u"a withoutany", 40, {u"a", u"with", u"outa", u"ny"}},
      {u" ab", 10, {u" ", u"a", u"b"}},
      {u"abc", 0, {u"a", u"b", u"c"}},
      {u"ab ", 20, {u"ab"}},
      {u"x\U0001F4BEy", 20, {u"x", u"\U0001F4BE", u"y"}},
      {u"\U0001F4BE\U0001F4BE", 10, {u"\U0001F4BE", u"\U0001F4BE"}},
  };
  for (const BreakCase& c : cases) {
    SCOPED_TRACE(Utf8FromWide(c.line));
    EXPECT_TRUE(BrokenLine(c.line, c.room, widthOf) == c.pieces);
  }
  const std::u16string path(16384, u'x');
  EXPECT_EQ(BrokenLine(path, 1000, widthOf).size(), 164u);
  EXPECT_EQ(BrokenLine(path, -50, widthOf).size(), 16384u);
}

struct SizeCase {
  const char* name;
  size_t lines;
  MessageMeasures measures;
  Size size;
};

TEST(MessageFormSize, FollowsFromTheLines) {
  const SizeCase cases[] = {
      {"no text", 0, {0, 0, 96}, {30, 105}},
      {"one line", 1, {237, 13, 96}, {267, 115}},
      {"two lines", 2, {237, 13, 96}, {267, 134}},
      {"three lines are three line heights taller", 3, {237, 14, 96}, {267, 157}},
      {"half a pixel is dropped", 4, {237, 13, 96}, {267, 173}},
      {"at 200 %", 3, {474, 26, 192}, {534, 308}},
  };
  for (const SizeCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_TRUE(MessageFormSize(c.lines, c.measures) == c.size);
  }
}

bool Overlap(const Box& a, const Box& b) {
  return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

TEST(PlaceMessage, NothingOverlapsAndNothingIsBelowTheButtons) {
  for (const u32 dpi : {96u, 120u, 144u, 192u, 288u}) {
    for (const i32 lineHeight : {13, 14, 16}) {
      for (size_t count = 0; count <= 12; ++count) {
        SCOPED_TRACE(::testing::Message() << dpi << " " << lineHeight << " " << count);
        const MessageMeasures measures{Scaled(237, dpi), Scaled(lineHeight, dpi), dpi};
        const Size size = MessageFormSize(count, measures);
        const MessagePlaces places = PlaceMessage(count, size.width, measures);
        ASSERT_EQ(places.lines.size(), count);
        std::vector<Box> all = places.lines;
        all.push_back(places.icon);
        for (size_t i = 0; i < all.size(); ++i) {
          EXPECT_LE(all[i].y + all[i].height, size.height - Scaled(40, dpi));
          EXPECT_LE(all[i].x + all[i].width, size.width);
          for (size_t j = 0; j < i; ++j) EXPECT_FALSE(Overlap(all[i], all[j])) << i << " " << j;
        }
      }
    }
  }
}

TEST(PlaceMessage, EveryLineHasTheWidthThatItWasMeasuredWith) {
  for (const u32 dpi : {96u, 120u, 144u, 168u, 192u, 240u}) {
    const MessageMeasures measures{237, 13, dpi};
    const MessagePlaces places = PlaceMessage(2, MessageFormSize(2, measures).width, measures);
    EXPECT_EQ(places.lines[0].width, 237 - MessageIconRoom(dpi));
    EXPECT_EQ(places.lines[1].width, 237);
  }
}

}  // namespace
}  // namespace larkspur
