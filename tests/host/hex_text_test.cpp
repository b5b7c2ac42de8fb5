// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/hex_text.h"

#include <algorithm>
#include <array>

#include <gtest/gtest.h>

namespace larkspur::host {
namespace {

TEST(HexTextTest, AWholeSectorIsThirtyTwoLines) {
  std::array<u8, kSectorBytes> bytes{};
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<u8>(i);
  const std::string text = HexText(bytes);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 32);
  EXPECT_EQ(text.substr(0, text.find('\r')),
            "0000  00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f  ................");
  EXPECT_NE(
      text.find("0040  40 41 42 43 44 45 46 47  48 49 4a 4b 4c 4d 4e 4f  @ABCDEFGHIJKLMNO\r\n"),
      std::string::npos);
  EXPECT_NE(
      text.find("0170  70 71 72 73 74 75 76 77  78 79 7a 7b 7c 7d 7e 7f  pqrstuvwxyz{|}~.\r\n"),
      std::string::npos);
}

TEST(HexTextTest, AShortLineKeepsItsColumns) {
  const std::array<u8, 3> bytes{'a', 0xFF, 'c'};
  EXPECT_EQ(HexText(bytes), "0000  61 ff 63" + std::string(42, ' ') + "a.c\r\n");
  EXPECT_EQ(HexText({}), "");
}

TEST(HexTextTest, SectorsAreReadAsPeopleTypeThem) {
  struct Row {
    const char16_t* text;
    std::optional<u64> sector;
  };
  constexpr Row kRows[] = {
      {u"0", 0},
      {u" 63\t", 63},
      {u"0x3F", 63},
      {u"0Xff", 255},
      {u"18446744073709551615", 0xFFFFFFFFFFFFFFFF},
      {u"18446744073709551616", std::nullopt},
      {u"", std::nullopt},
      {u"  ", std::nullopt},
      {u"0x", std::nullopt},
      {u"-1", std::nullopt},
      {u"12a", std::nullopt},
      {u"1 2", std::nullopt},
      {u"\u0661", std::nullopt},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(SectorFromText(row.text), row.sector) << testing::PrintToString(row.text);
  }
}

}  // namespace
}  // namespace larkspur::host
