// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/json_text.h"

#include <gtest/gtest.h>

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

TEST(JsonText, ALeadByteAtTheEndIsLeftAlone) {
  EXPECT_EQ(WithControlsEscaped("\"\xC2"), "\"\xC2");
}

}  // namespace
}  // namespace larkspur
