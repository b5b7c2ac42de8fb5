// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/size_text.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

TEST(SizeText, IsReadable) {
  const struct {
    u64 bytes;
    const char* text;
  } cases[] = {
      {0, "0 bytes"},       {512, "512 bytes"},        {1024, "1.0 KiB"},     {1536, "1.5 KiB"},
      {1048575, "1.0 MiB"}, {u64{4} << 40, "4.0 TiB"}, {~u64{0}, "16.0 EiB"},
  };
  for (const auto& c : cases) EXPECT_EQ(SizeText(c.bytes), c.text) << c.bytes;
}

TEST(PercentText, RoundsToNoFalseEnd) {
  const struct {
    u64 part, whole;
    const char* text;
  } cases[] = {
      {0, 0, "0.0 %"},   {0, 100, "0.0 %"}, {1, 1000000, "0.1 %"}, {999999, 1000000, "99.9 %"},
      {5, 5, "100.0 %"}, {1, 3, "33.3 %"},
  };
  for (const auto& c : cases) EXPECT_EQ(PercentText(c.part, c.whole), c.text) << c.part;
}

}  // namespace
}  // namespace larkspur
