// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/report.h"

#include <regex>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "imaging/report_plots.h"
#include "imaging/rescue_words.h"
#include "imaging/storage_words.h"

namespace larkspur {
namespace {

bool Has(const std::string& page, std::string_view text) {
  return page.find(text) != std::string::npos;
}

ReportFacts FullFacts() {
  const std::string hostile = "<script>alert(1)</script>&\"\xff\x1b";
  ReportFacts facts;
  facts.cache = hostile;
  facts.made = hostile;
  facts.history.disk = ReportDisk{hostile, hostile, hostile, hostile};
  facts.history.runs = {{"begun", "ended", hostile, 7}};
  facts.history.good = {{0, 0}, {60, 400}, {120, 500}};
  facts.history.failures = {{0, 1}, {999, 1}, {5000, 1}};
  facts.history.failureKinds = {{hostile, 3}};
  facts.partitions = {{hostile, hostile, 0, 1000}};
  facts.files = ReportFiles{5, 1, 0, {{hostile, hostile, 5, true, 1, 0}}, {hostile}};
  return facts;
}

TEST(Report, EscapesWhatItIsTold) {
  const auto image = fakes::CreateImage(fakes::MakeStore(), 1000);
  const std::string page = WriteReport(image.get(), FullFacts());
  EXPECT_FALSE(Has(page, "<script"));
  EXPECT_FALSE(Has(page, "\xff"));
  EXPECT_FALSE(Has(page, "\x1b"));
  EXPECT_TRUE(Has(page, "&lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;??"));
  EXPECT_FALSE(Has(page, "http-equiv"));
}

TEST(Report, SaysWhatItKnowsAndLeavesOutTheRest) {
  const auto image = fakes::CreateImage(fakes::MakeStore(), 1000);
  fakes::WritePattern(image.get(), 0, 250);
  ReportFacts facts;
  facts.refreshSeconds = 10;
  facts.files.emplace();
  const std::string page = WriteReport(image.get(), facts);
  EXPECT_TRUE(Has(page, "25.0%</span> of the disk is saved"));
  EXPECT_TRUE(Has(page, "content=\"10\""));
  EXPECT_TRUE(Has(page, "No files were found yet"));
  EXPECT_TRUE(Has(page, "375.0 KiB have not been read yet"));
  EXPECT_FALSE(Has(page, "a laboratory"));
  for (const char* absent :
       {"The disk</h2>", "How it went", "Where reading failed", "Partitions", "could not read"}) {
    EXPECT_FALSE(Has(page, absent)) << absent;
  }
  fakes::WritePattern(image.get(), 250, 750);
  facts.files->AddObstacle("This build cannot list files.");
  const std::string whole = WriteReport(image.get(), facts);
  EXPECT_FALSE(Has(whole, "No files were found yet"));
  EXPECT_FALSE(Has(whole, "have not been read yet"));
}

TEST(Report, TheStepsOfTimeDiffer) {
  const std::regex step(">([0-9:]+ (s|min|h))<");
  const struct {
    double seconds;
    const char* last;
  } cases[] = {{0, "4 s"},        {0.4, "4 s"},     {5, "8 s"},         {80, "80 s"},
               {600, "600 s"},    {601, "12 min"},  {14399, "240 min"}, {14400, "240 min"},
               {14401, "5:00 h"}, {4e5, "112:00 h"}};
  for (const auto& c : cases) {
    const std::string svg = PlotGoodData({{0, 0}, {c.seconds, 1}}, 1000);
    const std::vector<std::string> steps(
        std::sregex_token_iterator(svg.begin(), svg.end(), step, 1), std::sregex_token_iterator());
    EXPECT_EQ(std::set(steps.begin(), steps.end()).size(), 5u) << c.seconds;
    EXPECT_EQ(steps.back(), c.last);
  }
}

TEST(RescueWords, CountsASectorThatFailedTwiceOnce) {
  RescueHistory history;
  history.triedTogether.Add({0, 10});
  history.triedAlone.Add({6, 10});
  EXPECT_EQ(TriedSectors(history), 16u);
}

TEST(RescueWords, SaysWhatIsKnown) {
  const struct {
    ProgressFacts progress;
    const char* text;
  } cases[] = {
      {{2000, 0, 0, -1, -1}, "0.0%  present 0 bytes"},
      {{2000, 0, 0, 0, -1}, "0.0%  present 0 bytes  0 bytes/s"},
      {{4096, 2048, 0, 1048576, 1}, "50.0%  present 1.0 MiB  1.0 MiB/s  0:01 left"},
      {{4096, 2048, 12, 512, 753},
       "50.0%  present 1018.0 KiB  unreadable 12 sectors  512 bytes/s  12:33 left"},
      {{4096, 4096, 0, 2048, 0}, "100.0%  present 2.0 MiB  2.0 KiB/s  0:00 left"},
      {{.done = 2050, .unreadable = 2, .phase = "fetch", .position = 4096, .sinceSuccess = 2},
       "fetch   at 2.0 MiB  present 1.0 MiB  unreadable 2 sectors  no answer for 0:02"},
      {{4096, 2048, 0, 512, 1, "copy", 2048, 0},
       "copy    50.0%  at 1.0 MiB  present 1.0 MiB  512 bytes/s  0:01 left"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatProgress(c.progress), c.text);
}

TEST(RescueWords, LeavesOutWhatDoesNotFit) {
  const ProgressFacts all = {4096, 2048, 8, 22544384, 753, "copy", 250675, 12};
  const struct {
    size_t width;
    const char* text;
  } cases[] = {
      {200,
       "copy    50.0%  at 122.4 MiB  present 1020.0 KiB  unreadable 8 sectors  21.5 MiB/s  "
       "no answer for 0:12  12:33 left"},
      {100,
       "copy    50.0%  present 1020.0 KiB  unreadable 8 sectors  21.5 MiB/s  no answer for 0:12  "
       "12:33 left"},
      {79, "copy    50.0%  unreadable 8 sectors  21.5 MiB/s  no answer for 0:12  12:33 left"},
      {78, "copy    50.0%  unreadable 8 sectors  no answer for 0:12  12:33 left"},
      {60, "copy    50.0%  unreadable 8 sectors  no answer for 0:12"},
      {54, "copy    50.0%  no answer for 0:12"},
      {32, "copy    50.0%"},
      {12, "copy  "},
      {0, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatProgress(all, c.width), c.text) << c.width;
}

TEST(RescueWords, FormatsDurations) {
  const struct {
    double seconds;
    const char* text;
  } cases[] = {{0, "0:00"},         {59.9, "0:59"},       {753, "12:33"}, {3600, "1:00:00"},
               {90061, "25:01:01"}, {1e30, "2376:00:00"}, {-5, "0:00"}};
  for (const auto& c : cases) EXPECT_EQ(FormatDuration(c.seconds), c.text) << c.seconds;
}

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
