// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Who gets how much of too little room, and what becomes of what is left over.

#include "ui/model/text_room.h"

#include <gtest/gtest.h>

#include "ui/model/contrast.h"

namespace larkspur {
namespace {

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
