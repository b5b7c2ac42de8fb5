// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/progress.h"

#include <gtest/gtest.h>

#include "fakes/dying_disk.h"

namespace larkspur::cli {
namespace {

// What goes to the error output, which is no terminal then.
std::string Said(const std::function<void()>& show) {
  testing::internal::CaptureStderr();
  show();
  return testing::internal::GetCapturedStderr();
}

TEST(ProgressLine, IsSaidEveryTenSeconds) {
  fakes::FakeClock clock;
  clock.now = 100;
  const std::string lines = Said([&clock] {
    ProgressLine line(&clock);
    for (const auto& [seconds, done] :
         {std::pair{9.5, 1}, {10.0, 1000}, {19.5, 2}, {20.0, 2000}, {29.5, 3}, {30.0, 2000}}) {
      clock.now = 100 + seconds;
      line.Show({3000, static_cast<u64>(done)}, static_cast<u64>(done),
                3000 - static_cast<u64>(done));
    }
    EXPECT_EQ(line.Seconds(), 30);
  });
  EXPECT_EQ(lines,
            "33.3%  present 500.0 KiB\n"
            "66.7%  present 1000.0 KiB  50.0 KiB/s  0:10 left\n"
            "66.7%  present 1000.0 KiB  35.0 KiB/s  0:14 left\n");
}

TEST(RescueProgressLine, IsJsonEverySecond) {
  fakes::FakeClock clock;
  clock.now = 100;
  RescueProgress progress;
  const std::string lines = Said([&] {
    RescueProgressLine line(true, &clock);
    line.Show(progress);  // nothing is wanted yet
    progress.domainSectors = 4000;
    for (const auto& [seconds, present] : {std::pair{0.0, 0}, {0.9, 1}, {1.0, 1000}, {2.0, 3000}}) {
      clock.now = 100 + seconds;
      progress.domain = {.present = static_cast<u64>(present),
                         .unreadable = 500,
                         .missing = 3500 - static_cast<u64>(present)};
      progress.secondsSinceSuccess = seconds / 2;
      progress.secondsLeft = seconds == 0 ? -1 : seconds;
      line.Show(progress);
    }
  });
  EXPECT_EQ(lines, R"({"phase":"idle","percent":12.50,"present":0,"unreadable":500,"left":3500,)"
                   R"("bytesPerSecond":null,"secondsLeft":null,"sinceSuccess":0.0})"
                   "\n"
                   R"({"phase":"idle","percent":37.50,"present":1000,"unreadable":500,"left":2500,)"
                   R"("bytesPerSecond":512000.0,"secondsLeft":1.0,"sinceSuccess":0.5})"
                   "\n"
                   R"({"phase":"idle","percent":87.50,"present":3000,"unreadable":500,"left":500,)"
                   R"("bytesPerSecond":665600.0,"secondsLeft":2.0,"sinceSuccess":1.0})"
                   "\n");
}

}  // namespace
}  // namespace larkspur::cli
