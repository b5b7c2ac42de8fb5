// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Every byte, pair and unit of each page against the system's own converter, for the pages that it
// has installed.

#include <windows.h>

#include <string>

#include <gtest/gtest.h>

#include "base/text.h"
#include "platform/locale.h"

namespace larkspur {
namespace {

constexpr u32 kPages[] = {37,    437,   500,   737,   850,   852,   855,   857,   858,
                          862,   866,   870,   1250,  1251,  1252,  1254,  1255,  10007,
                          10029, 20866, 21866, 28591, 28592, 28593, 28595, 28596, 28597,
                          28598, 28599, 28605, 932,   936,   949,   950};

class TextSystem : public testing::TestWithParam<u32> {
 protected:
  void SetUp() override {
    if (!GetCPInfoExW(GetParam(), 0, &m_info)) GTEST_SKIP() << "the system lacks this page";
  }

  char16_t Theirs(const char* bytes, int count) const {
    wchar_t out[4] = {};
    const int units = MultiByteToWideChar(GetParam(), 0, bytes, count, out, 4);
    return units == 1 ? static_cast<char16_t>(out[0]) : char16_t{0};
  }

  char16_t Ours(const char* bytes, size_t count) const {
    char16_t out[4] = {};
    const size_t units = BytesToWide(bytes, count, out, 4, GetParam());
    return units == 1 && out[0] != 0xFFFD ? out[0] : char16_t{0};
  }

  CPINFOEXW m_info{};
};

TEST_P(TextSystem, EveryByte) {
  for (unsigned byte = 1; byte < 0x100; ++byte) {
    const char text[] = {static_cast<char>(byte)};
    if (IsDBCSLeadByteEx(GetParam(), static_cast<BYTE>(byte))) {
      EXPECT_EQ(Ours(text, 1), 0) << std::hex << byte;
    } else {
      EXPECT_EQ(Ours(text, 1), Theirs(text, 1)) << std::hex << byte;
    }
  }
}

TEST_P(TextSystem, EveryPair) {
  if (m_info.MaxCharSize == 1) return;
  for (unsigned pair = 0x8001; pair < 0x10000; ++pair) {
    const char text[] = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
    if (!IsDBCSLeadByteEx(GetParam(), static_cast<BYTE>(pair >> 8))) continue;
    const char16_t ours = Ours(text, 2), theirs = Theirs(text, 2);
    const bool undefined = theirs == static_cast<char16_t>(m_info.UnicodeDefaultChar);
    if (ours == 0 && (undefined || theirs == 0)) continue;
    EXPECT_EQ(ours, theirs) << std::hex << pair;
  }
}

// What the system writes without near equivalents and reads back unchanged, we write alike.
TEST_P(TextSystem, EveryUnit) {
  for (unsigned unit = 1; unit < 0x10000; ++unit) {
    if (unit >= 0xD800 && unit < 0xE000) continue;
    const wchar_t wide = static_cast<wchar_t>(unit);
    char theirs[4] = {}, ours[4] = {};
    BOOL replaced = FALSE;
    const int count = WideCharToMultiByte(GetParam(), WC_NO_BEST_FIT_CHARS, &wide, 1, theirs,
                                          sizeof theirs, nullptr, &replaced);
    const bool written = !replaced && count > 0 && Theirs(theirs, count) == unit;
    const char16_t text = static_cast<char16_t>(unit);
    const size_t oursCount = WideToBytes(&text, 1, ours, sizeof ours, GetParam());
    const bool back = Ours(ours, oursCount) == unit;
    ASSERT_EQ(back, written) << std::hex << unit;
    if (!written) continue;
    ASSERT_EQ(std::string(ours, oursCount), std::string(theirs, static_cast<size_t>(count)))
        << std::hex << unit;
  }
}

INSTANTIATE_TEST_SUITE_P(Pages, TextSystem, testing::ValuesIn(kPages),
                         [](const auto& page) { return "Page" + std::to_string(page.param); });

TEST(TextSystemAnsi, PageZeroIsTheUsersPage) {
  const u32 ansi = platform::AnsiCodePage();
  const char text[] = "K\xC4";
  char16_t byZero[4] = {}, byNumber[4] = {};
  EXPECT_EQ(BytesToWide(text, 2, byZero, 4, 0), BytesToWide(text, 2, byNumber, 4, ansi));
  EXPECT_EQ(std::u16string(byZero), std::u16string(byNumber));
}

}  // namespace
}  // namespace larkspur
