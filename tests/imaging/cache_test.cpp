// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/cache.h"

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"

namespace larkspur {
namespace {

TEST(Cache, IsGivenOutOnlyWhereItFits) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp");
  ASSERT_TRUE(OpenOrCreateCache(path, {}, 3000).image);
  const struct {
    std::optional<u64> expected;
    CacheAnswer answer;
  } kCases[] = {{std::nullopt, CacheAnswer::kOpened},
                {3000, CacheAnswer::kOpened},
                {2999, CacheAnswer::kOtherSize},
                {0, CacheAnswer::kOtherSize}};
  for (const auto& test : kCases) {
    for (const CacheAccess access : {CacheAccess::kLook, CacheAccess::kResume}) {
      const Cache cache = OpenCache(path, access, test.expected);
      EXPECT_EQ(cache.answer, test.answer) << test.expected.value_or(kNowhere);
      EXPECT_EQ(cache.image != nullptr, test.answer == CacheAnswer::kOpened);
    }
  }
  std::vector<u8> bytes = fakes::ReadWholeFile(path);
  bytes.pop_back();
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  const Cache cut = OpenCache(path, CacheAccess::kResume);
  EXPECT_EQ(cut.answer, CacheAnswer::kIncomplete);
  EXPECT_FALSE(cut.image);
  const Cache shown = OpenCache(path, CacheAccess::kLook);
  EXPECT_EQ(shown.damage, CacheAnswer::kIncomplete);
  EXPECT_TRUE(shown.image);
}

TEST(Cache, IsToldFromASource) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp");
  EXPECT_FALSE(OpenIfCache(path));
  EXPECT_FALSE(OpenIfCache(folder.Path().u16string()));
  ASSERT_TRUE(OpenOrCreateCache(path, {}, 3000).image);
  EXPECT_TRUE(OpenIfCache(path)->image);
  std::vector<u8> bytes = fakes::ReadWholeFile(path);
  bytes[16] = bytes[17] = 0;  // blocks without sectors
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  EXPECT_EQ(OpenIfCache(path)->answer, CacheAnswer::kDamagedHeader);
  bytes[0] = 'x';
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  EXPECT_FALSE(OpenIfCache(path));
}

}  // namespace
}  // namespace larkspur
