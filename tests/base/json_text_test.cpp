// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/json_text.h"

#include <gtest/gtest.h>

#include "base/printable.h"

namespace larkspur {
namespace {

TEST(JsonText, HoldsNoControlCharacterAndComesBack) {
  const struct {
    std::string text, json;
    std::string back = text;
  } cases[] = {
      {"ST2000DM008", R"("ST2000DM008")"},
      {"", R"("")"},
      {R"(a "b" \c)", R"("a \"b\" \\c")"},
      {"\x1B[2J\n", R"("\u001b[2J\n")"},
      {"\x7F", R"("\u007f")"},
      {"\xC2\x80\xC2\x9F\xC2\xA0", "\"\\u0080\\u009f\xC2\xA0\""},
      {"\xC2", "\"\xEF\xBF\xBD\"", "\xEF\xBF\xBD"},
      {"a\xFF z", "\"a\xEF\xBF\xBD z\"", "a\xEF\xBF\xBD z"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(JsonText(each.text), each.json);
    EXPECT_EQ(TextOfJson(each.json), each.back);
  }
}

TEST(JsonText, NothingElseIsAText) {
  for (const char* json :
       {"", "\"", "\"a", "\"\\x\"", "1", "null", "{}", "\"a\"b", "\"\\ud800\""}) {
    EXPECT_EQ(TextOfJson(json), std::nullopt) << json;
  }
}

// Names that a disk brought in: as JSON they are kept, elsewhere shown without what would make a
// terminal, or a reader, take them for others.
TEST(JsonText, WhatControlsAScreenDoesNotReachIt) {
  const struct {
    const char *text, *json, *shown;
  } cases[] = {
      {"a\u202Egpj.exe", "a\\u202egpj.exe", "a?gpj.exe"},
      {"\u200Fx\u2066y\u2069", "\\u200fx\\u2066y\\u2069", "?x?y?"},
      {"\u061C\u2028\x7F\u0085", "\\u061c\\u2028\\u007f\\u0085", "????"},
      {"\u0627\u200D\u2027\u202F\u20AC", "\u0627\u200D\u2027\u202F\u20AC",
       "\u0627\u200D\u2027\u202F\u20AC"},
      {"\n\xC2", "\\n\uFFFD", "??"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(JsonText(c.text), '"' + std::string(c.json) + '"');
    EXPECT_EQ(Printable(c.text), c.shown);
    EXPECT_EQ(Markup(c.text), c.shown);
  }
}

TEST(JsonNumber, HasWhatTellsItFromAllOthers) {
  EXPECT_EQ(JsonNumber(0), "0.0");
  EXPECT_EQ(JsonNumber(12.5), "12.5");
  EXPECT_EQ(JsonNumber(0.1), "0.1");
  EXPECT_EQ(JsonNumber(1e300), "1e+300");
  EXPECT_EQ(JsonNumber(1 / 0.0), "null");
}

TEST(Printable, TellsUtf8FromOtherBytes) {
  const struct {
    std::string_view text;
    bool isUtf8;
  } cases[] = {{"", true},
               {"plain", true},
               {"\u00E9t\u00E9 \u2602 \U0001F4BE", true},
               {"cut \xC3", false},
               {"a\xE9t", false},
               {"\xC0\x80", false},
               {"\xED\xA0\x80", false},
               {"\xF4\x90\x80\x80", false}};
  for (const auto& c : cases) EXPECT_EQ(IsUtf8(c.text), c.isUtf8) << HexText(c.text);
}

}  // namespace
}  // namespace larkspur
