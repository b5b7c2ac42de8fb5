// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Every byte and every pair of bytes of each page against the C library's own converter. Its
// tables and Microsoft's differ in places, all of which are listed; a page it lacks is skipped.

#include "base/text.h"

#include <algorithm>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <iconv.h>
#include <stdlib.h>
#include <time.h>
#include <wctype.h>

#include "platform/locale.h"

namespace larkspur {
namespace {

class Converter {
 public:
  explicit Converter(const char* from) : m_handle(iconv_open("UTF-16LE", from)) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (IsOpen()) iconv_close(m_handle);
  }

  bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

  // The one UTF-16 unit of a byte sequence; 0 when it has none, or has several.
  char16_t Unit(std::string bytes) {
    iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
    char16_t out[4] = {};
    char* in = bytes.data();
    char* to = reinterpret_cast<char*>(out);
    size_t inLeft = bytes.size(), outLeft = sizeof out;
    if (iconv(m_handle, &in, &inLeft, &to, &outLeft) == static_cast<size_t>(-1)) return 0;
    if (iconv(m_handle, nullptr, nullptr, &to, &outLeft) == static_cast<size_t>(-1)) return 0;
    return sizeof out - outLeft == 2 ? out[0] : char16_t{0};
  }

 private:
  iconv_t m_handle;
};

struct Page {
  u32 number;
  const char* name;                     // the C library's
  std::map<unsigned, char16_t> differ;  // bytes -> what our page has where the library's differs
  const char* before = nullptr;         // a national set, and the escape sequence that leads to it
};

// Signs of JIS X 0208 for which Microsoft took the wide forms.
const std::map<unsigned, char16_t> kWideSigns = {
    {0xA1C0, 0xFF3C}, {0xA1C1, 0xFF5E}, {0xA1C2, 0x2225}, {0xA1DD, 0xFF0D},
    {0xA1F1, 0xFFE0}, {0xA1F2, 0xFFE1}, {0xA2CC, 0xFFE2}};
const std::map<unsigned, char16_t> kChineseSigns = {{0xA1A4, 0x00B7}, {0xA1AA, 0x2014}};

// But for four pages and the national sets one byte a character: the library combines some pairs
// to one, so that bytes alone count.
const Page kPages[] = {
    {37, "IBM037", {}},
    {437, "CP437", {}},
    {500, "IBM500", {}},
    {737, "CP737", {}},
    {850, "CP850", {}},
    {852, "CP852", {}},
    {855, "CP855", {}},
    {857, "IBM857", {}},
    {858, "IBM858", {}},
    {862, "CP862", {}},
    {866, "CP866", {}},
    {870, "IBM870", {{0xB0, 0x02D9}}},
    {1250, "CP1250", {}},
    {1251, "CP1251", {}},
    {1252, "CP1252", {}},
    {1254, "CP1254", {}},
    {1255, "CP1255", {{0xCA, 0x05BA}}},
    {10007, "CP10007", {{0xB6, 0x2202}}},
    {10029, "MAC-CENTRALEUROPE", {}},
    {20866, "KOI8-R", {}},
    {21866, "KOI8-U", {{0xAE, 0x045E}, {0xBE, 0x040E}}},
    {28591, "ISO-8859-1", {}},
    {28592, "ISO-8859-2", {}},
    {28593, "ISO-8859-3", {}},
    {28595, "ISO-8859-5", {}},
    {28596, "ISO-8859-6", {}},
    // Microsoft's page is of the standard's first edition, without the signs added since.
    {28597,
     "ISO-8859-7",
     {{0xA1, 0x02BD}, {0xA2, 0x02BC}, {0xA4, 0xF7C2}, {0xA5, 0xF7C3}, {0xAA, 0xF7C4}}},
    {28598, "ISO-8859-8", {{0xAF, 0x203E}, {0xFD, 0xF7BF}, {0xFE, 0xF7C0}}},
    {28599, "ISO-8859-9", {}},
    {28605, "ISO-8859-15", {}},
    {932, "CP932", {}},
    {936, "CP936", {}},
    {949, "CP949", {}},
    {950, "CP950", {}},
    {50221, "ISO-2022-JP", kWideSigns, "\x1B$B"},
    {50227, "ISO-2022-CN", kChineseSigns, "\x1B$)A\x0E"},
    {51932, "EUC-JP-MS", {}, ""},
    {51936, "EUC-CN", kChineseSigns, ""},
};

// Where the library has nothing, our page may have what Microsoft's adds: private characters and
// control characters.
bool IsAddition(char16_t unit) {
  return (unit >= 0xE000 && unit <= 0xF8FF) || (unit >= 0x80 && unit < 0xA0);
}

char16_t OurUnit(const std::string& bytes, u32 page) {
  char16_t out[4] = {};
  const size_t count = BytesToWide(bytes.data(), bytes.size(), out, 4, page);
  return count == 1 && out[0] != 0xFFFD ? out[0] : char16_t{0};
}

std::string Bytes(unsigned number) {
  std::string bytes;
  if (number > 0xFF) bytes += static_cast<char>(number >> 8);
  bytes += static_cast<char>(number);
  return bytes;
}

// Whether both bytes have the high bit, as the rows and cells of national sets do.
bool IsCell(unsigned pair) {
  return pair >= 0xA1A1 && pair <= 0xFEFE && (pair & 0xFF) >= 0xA1 && (pair & 0xFF) <= 0xFE;
}

class TableIconv : public testing::TestWithParam<Page> {};

TEST_P(TableIconv, KnowsTheSameCharacters) {
  const Page& page = GetParam();
  Converter library(page.name);
  if (!library.IsOpen()) GTEST_SKIP() << "the C library has no " << page.name;
  const bool isNational = page.before, isDouble = page.number > 900 && page.number < 1000;
  const unsigned mask = isNational && *page.before ? 0x7F7F : 0xFFFF;
  int compared = 0;
  for (unsigned number = 1; number <= (isNational || isDouble ? 0xFFFF : 0xFF); ++number) {
    if (isNational && !IsCell(number)) continue;
    const std::string bytes = (isNational ? page.before : "") + Bytes(number & mask);
    const char16_t theirs = library.Unit(bytes), ours = OurUnit(bytes, page.number);
    const bool userDefined = theirs >= 0xE000 && theirs <= 0xF8FF;  // rows that only eucJP-ms has
    if (isNational ? theirs == 0 || userDefined : theirs == 0 && IsAddition(ours)) continue;
    const auto differ = page.differ.find(number);
    EXPECT_EQ(ours, differ == page.differ.end() ? theirs : differ->second) << std::hex << number;
    ++compared;
  }
  EXPECT_GT(compared, isNational ? 6000 : 100);
}

// Cells beyond the standard are those of the double-byte page, whose own definition is compared
// above: 51936 is the corner of 936 where both bytes have the high bit.
TEST(NationalCells, AreThoseOfTheDoubleBytePage) {
  for (unsigned pair = 0xA1A1; pair <= 0xFEFE; ++pair) {
    if (!IsCell(pair)) continue;
    const char16_t expected = OurUnit(Bytes(pair), 936);
    EXPECT_EQ(OurUnit(Bytes(pair), 51936), expected) << std::hex << pair;
    EXPECT_EQ(OurUnit("\x1B$)A\x0E" + Bytes(pair & 0x7F7F), 50227), expected) << std::hex << pair;
    EXPECT_EQ(OurUnit("\x1B$B" + Bytes(pair & 0x7F7F), 50221), OurUnit(Bytes(pair), 51932))
        << std::hex << pair;
  }
}

INSTANTIATE_TEST_SUITE_P(Pages, TableIconv, testing::ValuesIn(kPages), [](const auto& page) {
  return "Page" + std::to_string(page.param.number);
});

TEST(Utf8Iconv, EveryCodePoint) {
  std::u16string text;
  for (char32_t point = 0; point <= 0x10FFFF; ++point) {
    if (point >= 0xD800 && point < 0xE000) continue;
    if (point >= 0x10000) {
      text += static_cast<char16_t>(0xD7C0 + (point >> 10));
      text += static_cast<char16_t>(0xDC00 + (point & 0x3FF));
    } else {
      text += static_cast<char16_t>(point);
    }
  }
  std::string theirs(text.size() * 3, '\0');
  const iconv_t handle = iconv_open("UTF-8", "UTF-16LE");
  char* in = reinterpret_cast<char*>(text.data());
  char* to = theirs.data();
  size_t inLeft = text.size() * 2, outLeft = theirs.size();
  ASSERT_EQ(iconv(handle, &in, &inLeft, &to, &outLeft), 0u);
  iconv_close(handle);
  theirs.resize(theirs.size() - outLeft);

  std::string ours(theirs.size(), '\0');
  ASSERT_EQ(WideToBytes(text.data(), text.size(), ours.data(), ours.size(), kUtf8CodePage),
            ours.size());
  EXPECT_TRUE(ours == theirs);
  ASSERT_EQ(WideLength(theirs.data(), theirs.size(), kUtf8CodePage), text.size());
  std::u16string back(text.size(), u'\0');
  BytesToWide(theirs.data(), theirs.size(), back.data(), back.size(), kUtf8CodePage);
  EXPECT_TRUE(back == text);
}

TEST(AnsiCodePage, IsUtf8OnThisSystem) {
  EXPECT_EQ(platform::AnsiCodePage(), kUtf8CodePage);
}

TEST(UpperCaseLibrary, AgreesWithTheLibrary) {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (!locale) GTEST_SKIP() << "the C library has no C.UTF-8";
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    const char16_t upper = UpperCase(static_cast<char16_t>(unit));
    if (upper == unit) continue;
    EXPECT_EQ(towupper_l(unit, locale), upper) << std::hex << unit;
    EXPECT_EQ(towlower_l(upper, locale), unit) << std::hex << unit;
  }
  freelocale(locale);
}

// With a zone of known rules: 5 hours behind, 4 in summer, since 2007 from the second Sunday of
// March to the first of November.
TEST(LocalTime, FollowsTheRulesOfItsDate) {
  const char* const zone = getenv("TZ");
  const std::string before = zone ? zone : "";
  setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
  tzset();
  constexpr i64 kHour = 3600;
  constexpr i64 kWinter = 1325419200;  // 2012-01-01 12:00:00
  constexpr i64 kSummer = 1341144000;  // 2012-07-01 12:00:00
  EXPECT_EQ(LocalToUtc(kWinter), kWinter + 5 * kHour);
  EXPECT_EQ(LocalToUtc(kSummer), kSummer + 4 * kHour);
  EXPECT_EQ(LocalToUtc(0), 5 * kHour);
  EXPECT_EQ(LocalToUtc(-kHour), 4 * kHour);
  zone ? setenv("TZ", before.c_str(), 1) : unsetenv("TZ");
  tzset();
}

}  // namespace
}  // namespace larkspur
