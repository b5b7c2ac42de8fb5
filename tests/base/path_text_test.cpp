// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

TEST(PathText, ConvertsBothWays) {
  struct Case {
    const char* name;
    std::string utf8;
    std::u16string wide;
  };
  const Case cases[] = {
      {"ascii", "disk.kvrsp", u"disk.kvrsp"},
      {"two bytes", "\xD0\x94", u"\u0414"},
      {"three bytes", "\xE6\x97\xA5", u"\u65E5"},
      {"astral", "\xF0\x9F\x92\xBE", u"\xD83D\xDCBE"},
      {"lone surrogate", "\xED\xA0\x80", u"\xD800"},
      {"byte that begins nothing", "a\xFF", u"a\xDCFF"},
      {"overlong", "\xC0\xAF", u"\xDCC0\xDCAF"},
      {"cut sequence", "\xE6\x97", u"\xDCE6\xDC97"},
      {"beyond the last code point", "\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},
      {"escape in disguise", "\xED\xB2\x80", u"\xDCED\xDCB2\xDC80"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(WideFromUtf8(c.utf8), c.wide) << c.name;
    EXPECT_EQ(Utf8FromWide(c.wide), c.utf8) << c.name;
  }
}

}  // namespace
}  // namespace larkspur
