// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Texts: UTF-8, code pages, paths, and letters in upper case.

#include "base/text.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "platform/locale.h"

namespace larkspur {
namespace {

using namespace std::string_literals;

constexpr size_t kRoom = 64;

// What lies past the end would complete any character that is cut there.
std::u16string Wide(std::string whole, u32 page) {
  const size_t length = whole.size();
  const auto bytes = std::string_view(whole.append("\xB1\xB1\xB1")).substr(0, length);
  char16_t out[kRoom];
  const size_t count = BytesToWide(bytes.data(), bytes.size(), out, kRoom, page);
  EXPECT_EQ(count, WideLength(bytes.data(), bytes.size(), page));
  return {out, count};
}

std::string Bytes(std::u16string_view text, u32 page) {
  char out[kRoom];
  return {out, WideToBytes(text.data(), text.size(), out, kRoom, page)};
}

struct Case {
  const char* name;
  std::string bytes;
  std::u16string wide;
};

TEST(Utf8Text, ReplacesWhatIsDamaged) {
  const Case cases[] = {
      {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
      {"overlong in three", "\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD"},
      {"overlong in four", "\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
      {"beyond the last character", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"continuation alone", "a\x80z", u"a\uFFFDz"},
      {"cut after one of two", "\xC3", u"\uFFFD"},
      {"cut after two of three", "\xE6\x97", u"\uFFFD"},
      {"cut after three of four", "\xF0\x9F\x92", u"\uFFFD"},
      {"cut by another character", "\xF0\x9F\x92\x41\xE6\x97\xC3\xA9", u"\uFFFD\x41\uFFFD\u00E9"},
      {"never used", "\xFE\xFF\xF5", u"\uFFFD\uFFFD\uFFFD"},
  };
  for (const Case& c : cases) EXPECT_EQ(Wide(c.bytes, kUtf8CodePage), c.wide) << c.name;
  EXPECT_EQ(Bytes(u"a\xD83Dz", kUtf8CodePage), "a\xEF\xBF\xBDz");
  EXPECT_EQ(Bytes(u"\xDCBE\xD83D", kUtf8CodePage), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(DoubleByteText, ReplacesWhatIsDamaged) {
  const Case cases[] = {
      {"lead byte at the end", "A\x93", u"A\uFFFD"},
      {"lead byte before a sign that ends no pair", "\x93:", u"\uFFFD:"},
      {"undefined pair", "\x85\x80\x41", u"\uFFFD\x41"},
      {"undefined pair with an ascii byte", "\x85\x40", u"\uFFFD@"},
      {"pair with a backslash in it", "\x95\x5C", u"\u8868"},
      {"half-width kana and user-defined", "\xB1\xF0\x40", u"\uFF71\uE000"},
  };
  for (const Case& c : cases) EXPECT_EQ(Wide(c.bytes, 932), c.wide) << c.name;
  EXPECT_EQ(Bytes(u"\u65E5\u00E9\xD83D\xDCBEz", 932), "\x93\xFA??z");
}

TEST(DoubleByteText, WritesOneOfSeveralPairs) {
  EXPECT_EQ(Wide("\xEE\xEF\xFA\x40", 932), u"\u2170\u2170");
  EXPECT_EQ(Bytes(u"\u2170", 932), "\xFA\x40");  // IBM's pair, not NEC's copy of it
  EXPECT_EQ(Bytes(u"\u222A", 932), "\x81\xBE");  // the standard's pair, not NEC's
  EXPECT_EQ(Bytes(u"\u5341", 950), "\xA4\x51");
  EXPECT_EQ(Bytes(u"\u2550", 950), "\xF9\xF9");
}

TEST(SingleByteText, ReplacesWhatThePageLacks) {
  EXPECT_EQ(Bytes(u"a\u0414\xD83D\xDCBE\xD83D", 1252), "a???");
  EXPECT_EQ(Bytes(u"\u0414", 37), "\x6F");  // the question mark of that page
  EXPECT_EQ(Bytes(u"\u00C0", 1251), "?");
  EXPECT_EQ(Wide("\x81\x80", 1252), u"\u0081\u20AC");
}

struct PageCase {
  u32 page;
  const char* name;
  std::string bytes;
  std::u16string wide;
};

TEST(NationalText, ConvertsBothWays) {
  const PageCase cases[] = {
      {50221, "kanji between ascii", "a\x1B$BF|\x1B(Bz", u"a\u65E5z"},
      {50221, "half-width kana", "\x1B(I1\x1B(B", u"\uFF71"},
      {50221, "kanji to kana", "\x1B$BF|\x1B(I1\x1B(B\n", u"\u65E5\uFF71\n"},
      {50221, "NEC's selection of IBM's", "\x1B$B|q\x1B(B", u"\u2170"},
      {50227, "announced once", "\x1B$)A\x0E\x56\x50\x0F\x61\x0E\x56\x50\x0F", u"\u4E2D\x61\u4E2D"},
      {51932, "kanji and kana", "\xC6\xFC\x8E\xB1\x61", u"\u65E5\uFF71\x61"},
      {51936, "hanzi", "a\xD6\xD0", u"a\u4E2D"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Wide(c.bytes, c.page), c.wide) << c.page << ' ' << c.name;
    EXPECT_EQ(Bytes(c.wide, c.page), c.bytes) << c.page << ' ' << c.name;
  }
}

TEST(NationalText, ReadsOtherFormsAndDamage) {
  const PageCase cases[] = {
      {50221, "older escape sequences", "\x1B$@F|\x1B(Ja\x5C", u"\u65E5\x61\\"},
      {50221, "shifted kana", "\x0E\x31\x0F\x31", u"\uFF71\x31"},
      {50221, "an escape ends a shift", "\x0E\x31\x1B(B1", u"\uFF71\x31"},
      {50221, "kana of eight bits", "\xB1", u"\uFF71"},
      {50221, "controls among kanji", "\x1B$BF|\nF|", u"\u65E5\n\u65E5"},
      {50221, "cut pair", "\x1B$BF", u"\uFFFD"},
      {50221, "pair cut by an escape", "\x1B$BF\x1B(Ba", u"\uFFFD\x61"},
      {50221, "cut escape", "a\x1B$", u"a\x1B$"},
      {50221, "undefined cell", "\x1B$B)!\x1B(B", u"\uFFFD"},
      {50227, "high byte", "\xD6", u"\uFFFD"},
      {50227, "lowest high byte", "\x80", u"\uFFFD"},
      {51932, "kana cut", "\x8E", u"\uFFFD"},
      {51932, "kana cut by ascii", "\x8E:", u"\uFFFD:"},
      {51932, "third set", "\x8F\xB0\xA1", u"\uFFFD\u4E9C"},
      {51936, "cut pair", "\xD6", u"\uFFFD"},
      {51936, "pair cut by ascii", "\xD6:", u"\uFFFD:"},
  };
  for (const auto& c : cases) EXPECT_EQ(Wide(c.bytes, c.page), c.wide) << c.page << ' ' << c.name;
  EXPECT_EQ(Bytes(u"\u65E5\u00E9", 50221), "\x1B$BF|\x1B(B?");
  EXPECT_EQ(Bytes(u"\u65E5\u00E9", 51932), "\xC6\xFC?");
}

TEST(CodePages, AllAreKnownAndNamed) {
  const std::span<const CodePage> pages = KnownCodePages();
  ASSERT_EQ(pages.size(), 39u);
  EXPECT_EQ(pages.front().number, 65001u);
  EXPECT_EQ(pages.back().number, 51936u);
  EXPECT_STREQ(CodePageName(437), "OEM - United States");
  EXPECT_STREQ(CodePageName(950), "ANSI/OEM - Traditional Chinese (Taiwan; Hong Kong SAR, PRC)  ");
  EXPECT_EQ(CodePageName(1253), nullptr);
  EXPECT_EQ(CodePageName(0), nullptr);
  for (const CodePage& page : pages) EXPECT_NE(WideLength("a", 1, page.number), 0u) << page.number;
}

TEST(CodePages, RefuseTheUnknownAndTheEmpty) {
  char16_t wide[4];
  char bytes[4];
  EXPECT_EQ(BytesToWide("abc", 3, wide, 4, 1253), 0u);
  EXPECT_EQ(WideToBytes(u"abc", 3, bytes, 4, 1253), 0u);
  EXPECT_EQ(WideLength("abc", 3, 1253), 0u);
  for (const CodePage& page : KnownCodePages()) {
    EXPECT_EQ(BytesToWide("abc", 0, wide, 4, page.number), 0u);
    EXPECT_EQ(BytesToWide(nullptr, 3, wide, 4, page.number), 0u);
    EXPECT_EQ(BytesToWide("abc", 3, nullptr, 0, page.number), 0u);
    EXPECT_EQ(WideToBytes(nullptr, 3, bytes, 4, page.number), 0u);
    EXPECT_EQ(WideToBytes(u"abc", 0, bytes, 4, page.number), 0u);
    EXPECT_EQ(WideLength("abc", 0, page.number), 0u);
    EXPECT_EQ(WideLength(nullptr, 3, page.number), 0u);
  }
}

TEST(CodePages, EveryCharacterComesBack) {
  for (const CodePage& page : KnownCodePages()) {
    int back = 0;
    for (unsigned number = 1; number < 0x10000; ++number) {
      if (number >= 0xD800 && number < 0xE000) continue;
      const char16_t unit = static_cast<char16_t>(number);
      char bytes[16];
      const size_t count = WideToBytes(&unit, 1, bytes, sizeof bytes, page.number);
      char16_t again[4] = {};
      ASSERT_EQ(BytesToWide(bytes, count, again, 4, page.number), 1u)
          << page.number << ' ' << number;
      if (again[0] == unit)
        ++back;
      else
        ASSERT_EQ(again[0], u'?') << page.number << ' ' << number;
    }
    EXPECT_GE(back, 255) << page.number;
  }
}

TEST(CodePages, NumberZeroIsTheUsersPage) {
  EXPECT_EQ(Wide("K\xC3\xA4", 0), Wide("K\xC3\xA4", platform::AnsiCodePage()));
}

TEST(UpperCaseUnits, HaveOneFormBothWays) {
  EXPECT_EQ(UpperCase(u'\u00FF'), u'\u0178');
  // The rest stays: no letters, upper-case already, and forms whose lower case is another letter.
  for (const char16_t unit :
       u"A1@[`{\u00D7\u00DF\u00B5\u0131\u017F\u01C5\u03C2\u1E9B\u65E5\xD83D") {
    EXPECT_EQ(UpperCase(unit), unit) << +unit;
  }
  int letters = 0;
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    letters += UpperCase(static_cast<char16_t>(unit)) != unit;
  }
  EXPECT_EQ(letters, 973);
}

TEST(PathText, ConvertsBothWays) {
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
    EXPECT_EQ(WideFromUtf8(c.bytes), c.wide) << c.name;
    EXPECT_EQ(Utf8FromWide(c.wide), c.bytes) << c.name;
  }
}

}  // namespace
}  // namespace larkspur
