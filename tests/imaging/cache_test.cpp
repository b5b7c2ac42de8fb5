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
  ASSERT_TRUE(OpenOrCreateCache(path, {}, 3000));
  const struct {
    std::optional<u64> expected;
    bool fits;
  } kCases[] = {{std::nullopt, true}, {3000, true}, {2999, false}, {0, false}};
  for (const auto& test : kCases) {
    for (const CacheAccess access : {CacheAccess::kLook, CacheAccess::kResume}) {
      const auto cache = OpenCache(path, access, test.expected);
      ASSERT_EQ(cache.has_value(), test.fits) << test.expected.value_or(kNowhere);
      EXPECT_TRUE(cache || cache.error().kind == CacheFaultKind::kOtherSize);
    }
  }
  std::vector<u8> bytes = fakes::ReadWholeFile(path);
  bytes.pop_back();
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  const auto cut = OpenCache(path, CacheAccess::kResume);
  ASSERT_FALSE(cut);
  EXPECT_EQ(cut.error().kind, CacheFaultKind::kIncomplete);
  const auto shown = OpenCache(path, CacheAccess::kLook);
  ASSERT_TRUE(shown && shown->damage);
  EXPECT_EQ(shown->damage->kind, CacheFaultKind::kIncomplete);
}

TEST(Cache, IsToldFromASource) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp");
  EXPECT_FALSE(OpenIfCache(path));
  EXPECT_FALSE(OpenIfCache(folder.Path().u16string()));
  ASSERT_TRUE(OpenOrCreateCache(path, {}, 3000));
  EXPECT_TRUE(OpenIfCache(path)->has_value());
  std::vector<u8> bytes = fakes::ReadWholeFile(path);
  bytes[16] = bytes[17] = 0;  // blocks without sectors
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  EXPECT_EQ(OpenIfCache(path)->error().kind, CacheFaultKind::kDamagedHeader);
  // Without a cache's magic the name tells; only where a cache is looked at.
  bytes[0] = 'x';
  struct Row {
    const char16_t* name;
    bool isNamedAsCache;
  };
  for (const auto& [name, isNamedAsCache] :
       {Row{u"disk.kvrsp", true}, {u"DISK.KVRSP", true}, {u"disk.img", false}, {u"kvrsp", false}}) {
    const std::u16string file = folder.File(name);
    ASSERT_TRUE(fakes::WriteWholeFile(file, bytes));
    const auto opened = OpenIfCache(file);
    EXPECT_EQ(opened && opened->error().kind == CacheFaultKind::kDamagedHeader, isNamedAsCache)
        << testing::PrintToString(name);
    EXPECT_EQ(OpenCache(file, CacheAccess::kResume).error().kind, CacheFaultKind::kForeign);
  }
}

}  // namespace
}  // namespace larkspur
