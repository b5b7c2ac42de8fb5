// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/printable.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

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
