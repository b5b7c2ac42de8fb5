// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Texts that are made of templates.

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "ui/model/progress.h"
#include "ui/model/text_template.h"

namespace larkspur {
namespace {

struct TemplateCase {
  std::u16string_view text;
  std::vector<TemplateArgument> arguments;
  const char* shown;
};

TEST(FilledIn, ReplacesDirectivesInTheirOrderAndShowsNothingForWhatDoesNotFit) {
  const TemplateCase cases[] = {
      {u"", {}, ""},
      {u"plain", {}, "plain"},
      {u"%s (%c:, %.02fGB fixed drive)",
       {u"Data", i64{u'D'}, 1.5},
       "Data (D:, 1.50GB fixed drive)"},
      {u"%02d.%02d.%04d", {i64{1}, i64{12}, i64{987}}, "01.12.0987"},
      {u"%lld KB", {i64{9'000'000'000}}, "9000000000 KB"},
      {u"%d%%", {i64{-3}}, "-3%"},
      {u"%5d|%05d", {i64{42}, i64{42}}, "   42|00042"},
      {u"%.01f%%", {99.95}, "100.0%"},
      {u"%s", {u"Диск %s"}, "Диск %s"},
      {u"[%s]", {}, "[]"},
      {u"[%s]", {i64{5}}, "[]"},
      {u"[%d]", {u"text"}, "[]"},
      {u"[%d]", {2.5}, "[]"},
      {u"[%f]", {i64{5}}, "[]"},
      {u"[%d]", {i64{1}, i64{2}}, "[1]"},
      {u"100%", {}, "100%"},
      {u"%", {}, "%"},
      {u"%q %n", {i64{1}}, "%q %n"},
      {u"%%%", {}, "%%"},
  };
  for (const TemplateCase& c : cases)
    EXPECT_EQ(Utf8FromWide(FilledIn(c.text, c.arguments)), c.shown);
}

TEST(FilledIn, NeverMakesMoreOfAWidthThanItShould) {
  const std::vector<TemplateArgument> largest = {std::numeric_limits<double>::max()};
  EXPECT_LT(FilledIn(u"%999999999.999999999f", largest).size(), 400u);
  const std::vector<TemplateArgument> one = {i64{1}};
  EXPECT_LT(FilledIn(u"%0999999999999d", one).size(), 64u);
}

constexpr ProgressTexts kTexts{u"Starting...", u"%s %.01f%% %02d:%02d:%02d left %02d:%02d:%02d",
                               u"%s %02d:%02d:%02d", u"Operation"};

TEST(ProgressText, SaysWhatIsKnown) {
  const struct {
    const char* name;
    ProgressState state;
    const char* text;
  } cases[] = {
      {"at the start", {-1, 0.2}, "Starting..."},
      {"at the start of a known length", {0, 0.9}, "Starting..."},
      {"unknown length", {-1, 75}, "Copy 00:01:15"},
      {"nothing done yet", {0, 1}, "Copy 00:00:01"},
      {"a quarter", {0.25, 3600}, "Copy 25.0% 01:00:00 left 03:00:00"},
      {"resumed at a half", {0.75, 3600, 0.5}, "Copy 75.0% 01:00:00 left 01:00:00"},
      {"resumed, nothing done yet", {0.5, 2, 0.5}, "Copy 00:00:02"},
      {"done", {1, 61}, "Copy 100.0% 00:01:01 left 00:00:00"},
      {"almost done", {0.99999, 10000}, "Copy 99.9% 02:46:40 left 00:00:00"},
      {"more than all", {1.5, 61}, "Copy 100.0% 00:01:01 left 00:00:00"},
      {"longer than anyone waits", {1e-12, 1e6}, "Copy 0.1% 277:46:40 left 999:00:00"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Utf8FromWide(ProgressText(kTexts, u"Copy", c.state)), c.text) << c.name;
  }
  EXPECT_EQ(Utf8FromWide(ProgressText(kTexts, u"", {-1, 75})), "Operation 00:01:15");
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
