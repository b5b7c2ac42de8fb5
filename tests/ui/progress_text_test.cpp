// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "base/path_text.h"
#include "ui/model/progress.h"

namespace larkspur {
namespace {

constexpr ProgressTexts kTexts{
    u"Starting...",
    u"%s progress: %.01f%%. Elapsed time: %02d:%02d:%02d. Estimated time left: %02d:%02d:%02d.",
    u"%s is in progress: elapsed time: %02d:%02d:%02d.", u"Operation"};

struct ProgressCase {
  const char* name;
  std::u16string_view operation;
  ProgressState state;
  const char* text;
};

TEST(ProgressText, SaysWhatIsKnown) {
  const ProgressCase cases[] = {
      {"at the start", u"Copy", {-1, 0.2}, "Starting..."},
      {"at the start of a known length", u"Copy", {0, 0.9}, "Starting..."},
      {"unknown length", u"Copy", {-1, 75}, "Copy is in progress: elapsed time: 00:01:15."},
      {"nothing done yet", u"Copy", {0, 2}, "Copy is in progress: elapsed time: 00:00:02."},
      {"a quarter",
       u"Copy",
       {0.25, 3600},
       "Copy progress: 25.0%. Elapsed time: 01:00:00. Estimated time left: 03:00:00."},
      {"done",
       u"Copy",
       {1, 61},
       "Copy progress: 100.0%. Elapsed time: 00:01:01. Estimated time left: 00:00:00."},
      {"more than all",
       u"Copy",
       {1.5, 61},
       "Copy progress: 100.0%. Elapsed time: 00:01:01. Estimated time left: 00:00:00."},
      {"no name",
       u"",
       {0.5, 10},
       "Operation progress: 50.0%. Elapsed time: 00:00:10. Estimated time left: 00:00:10."},
      {"longer than anyone waits",
       u"Copy",
       {1e-12, 1e6},
       "Copy progress: 0.0%. Elapsed time: 277:46:40. Estimated time left: 999:00:00."},
  };
  for (const ProgressCase& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Utf8FromWide(ProgressText(kTexts, c.operation, c.state)), c.text);
  }
}

TEST(SupposedShare, ComesNearerToTheEndAndNeverThere) {
  EXPECT_EQ(SupposedShare(0, 4), 0);
  EXPECT_EQ(SupposedShare(-5, 4), 0);
  EXPECT_DOUBLE_EQ(SupposedShare(4, 4), 0.5);
  EXPECT_DOUBLE_EQ(SupposedShare(8, 4), 0.75);
  EXPECT_LT(SupposedShare(100, 4), 1);
}

TEST(ProgressFeed, SupposesNothingOnceTheShareIsKnown) {
  cProgressFeed feed;
  feed.Suppose(0.7);
  EXPECT_LT(feed.Share(), 0);
  EXPECT_EQ(feed.Bar(), 0.7);
  feed.Report(0.25);
  feed.Suppose(0.8);
  EXPECT_EQ(feed.Bar(), 0.25);
  feed.Reset();
  EXPECT_EQ(feed.Bar(), 0);
  EXPECT_LT(feed.Share(), 0);
}

}  // namespace
}  // namespace larkspur
