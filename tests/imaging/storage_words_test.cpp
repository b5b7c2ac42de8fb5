// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/storage_words.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

TEST(StorageWords, EveryFaultOfACacheHasWordsThatFollowItsName) {
  for (int i = 0; i <= static_cast<int>(CacheFaultKind::kCannotCreate); ++i) {
    const auto kind = static_cast<CacheFaultKind>(i);
    const FaultWords words = CacheWords({kind, 5, 64}, 128);
    ASSERT_FALSE(words.text.empty()) << i;
    EXPECT_TRUE(words.text[0] >= 'a' && words.text[0] <= 'z') << words.text;
    EXPECT_NE(words.text.back(), '.') << words.text;
    const bool isSystems =
        kind == CacheFaultKind::kCannotOpen || kind == CacheFaultKind::kUnreadable ||
        kind == CacheFaultKind::kLogUnreadable || kind == CacheFaultKind::kCannotCreate;
    EXPECT_EQ(words.systemError, isSystems ? 5u : 0u) << words.text;
  }
}

}  // namespace
}  // namespace larkspur
