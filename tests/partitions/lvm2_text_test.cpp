// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/lvm2_text.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

// What the text says of "x" in its outermost section: "number 5", "text a", "list a b(2)" or
// "section"; "nothing", or "fault" for a text that breaks the rules.
std::string MeaningOfX(const std::string& text) {
  const Lvm2Text read(text);
  if (!read.IsValid()) return "fault";
  if (const auto number = read.Number(Lvm2Text::kRoot, "x")) {
    return "number " + std::to_string(*number);
  }
  if (const auto words = read.Text(Lvm2Text::kRoot, "x")) return "text " + *words;
  if (read.FindSection(Lvm2Text::kRoot, "x")) return "section";
  const auto list = read.List(Lvm2Text::kRoot, "x");
  if (list.empty()) return "nothing";
  std::string meaning = "list";
  for (const auto& scalar : list) {
    meaning += ' ' + std::string(scalar.text);
    if (scalar.number) meaning += '(' + std::to_string(*scalar.number) + ')';
  }
  return meaning;
}

TEST(Lvm2Text, FollowsTheGrammar) {
  const struct {
    const char* text;
    const char* meaning;
  } kCases[] = {
      {"", "nothing"},
      {"x = 5", "number 5"},
      {"x=5 y=6", "number 5"},
      {"x\t=\n+5", "number 5"},
      {"# x = 1\nx = 2 # x = 3", "number 2"},
      {"x = 18446744073709551615", "number 18446744073709551615"},
      {"x = 18446744073709551616", "list 18446744073709551616"},
      {"x = -1", "list -1"},
      {"x = 1.5", "list 1.5"},
      {"x = \"a b\"", "text a b"},
      {"x = \"a\\\"b\\\\c\"", "text a\"b\\c"},
      {"x = 'a\\'", "text a\\"},
      {"x = \"# { } =\"", "text # { } ="},
      {"x = word", "text word"},
      {"x = []", "nothing"},
      {"x = [1, \"a\" , b 2]", "list 1(1) a b 2(2)"},
      {"x = [1,]", "list 1(1)"},
      {"x { }", "section"},
      {"x{y{z=1}}", "section"},
      {"\"x\" = 5", "number 5"},
      {"x = 1 x = 2", "number 2"},
      {"y = 1", "nothing"},
      {"x = \"\"", "text "},
      {"1x = 1 x = 2", "number 2"},
  };
  for (const auto& test : kCases) EXPECT_EQ(MeaningOfX(test.text), test.meaning) << test.text;
  EXPECT_EQ(MeaningOfX(std::string("x = 5\0}}}", 9)), "number 5");
}

TEST(Lvm2Text, RefusesWhatDoesNot) {
  const char* const kTexts[] = {
      "x",        "x =",     "= 5",       "x = \"a",  "x = 'a",    "x = \"a\\\"", "x {",
      "x { y {}", "}",       "x { } }",   "x = [",    "x = [1",    "x = [1, {",   "x = }",
      "x = {",    "{ }",     "x = [[1]]", "\"\" = 1", "x = 1 = 2", "x = ]",       "x [1]",
      "x = ,",    "x y = 1", "x = \"a\\", "\"x",      "x = [\"a]", "# x\n=",      "x = #",
  };
  for (const char* text : kTexts) EXPECT_EQ(MeaningOfX(text), "fault") << text;
}

TEST(Lvm2Text, ARepeatedSectionGoesOnWithTheFirst) {
  const Lvm2Text text("a { x = 1 y = 1 } b { x = 3 } a { y = 2 }");
  ASSERT_TRUE(text.IsValid());
  const auto sections = text.Sections(Lvm2Text::kRoot);
  ASSERT_EQ(sections.size(), 2u);
  EXPECT_EQ(sections[1].name, "b");
  EXPECT_EQ(text.Number(sections[0].section, "x"), 1u);
  EXPECT_EQ(text.Number(sections[0].section, "y"), 2u);
}

std::string Nested(u32 depth) {
  std::string text;
  for (u32 i = 0; i < depth; ++i) text += "a {";
  return text + std::string(depth, '}');
}

TEST(Lvm2Text, HasLimits) {
  EXPECT_TRUE(Lvm2Text(Nested(Lvm2Text::kMaxNesting)).IsValid());
  EXPECT_FALSE(Lvm2Text(Nested(Lvm2Text::kMaxNesting + 1)).IsValid());
  EXPECT_FALSE(Lvm2Text(Nested(1 << 20)).IsValid());
  const auto list = [](u32 items) {
    std::string text = "x = [";
    for (u32 i = 0; i < items; ++i) text += "1,";
    return text + ']';
  };
  EXPECT_TRUE(Lvm2Text(list(Lvm2Text::kMaxItems - 2)).IsValid());
  EXPECT_FALSE(Lvm2Text(list(Lvm2Text::kMaxItems - 1)).IsValid());
}

}  // namespace
}  // namespace larkspur
