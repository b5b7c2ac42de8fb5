// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/rescue_words.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

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

}  // namespace
}  // namespace larkspur
