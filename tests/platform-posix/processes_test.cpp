// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <csignal>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

#include "platform/clock.h"
#include "platform/command.h"
#include "platform/helper_process.h"
#include "platform/server_program.h"

namespace larkspur::platform {
namespace {

// Signals interrupt the waiting.
TEST(HelperProcess, IsWaitedForWithinItsLimits) {
  const std::atomic<bool> stop{true};
  const auto pauses = [](HelperLine&) { pause(); };
  const auto takes = [](size_t bytes) {
    return [bytes](HelperLine& line) {
      const void* room = mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (room != MAP_FAILED) line.Send("x", 1);
    };
  };
  const struct {
    const char* name;
    std::function<void(HelperLine&)> work;
    HelperLimits limits;
    bool answers;
  } cases[] = {
      {"takes what it may", takes(60 << 20), {1 << 26, 60, 60}, true},
      {"takes more", takes(65 << 20), {1 << 26, 60, 60}, false},
      {"answers late",
       [](HelperLine& line) {
         SleepMilliseconds(200);
         line.Send("x", 1);
       },
       {.memoryBytes = 1 << 26, .cpuSeconds = 60, .silentSeconds = 60},
       true},
      {"ends", [](HelperLine&) {}, {1 << 26, 60, 60}, false},
      {"is silent", pauses, {1 << 26, 60, 1}, false},
      {"is stopped", pauses, {1 << 26, 60, 60, &stop}, false},
  };
  const itimerval never{};
  struct sigaction quiet {
  }, before;
  quiet.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGALRM, &quiet, &before), 0);
  for (const auto& c : cases) {
    const double began = MonotonicSeconds();
    const auto helper = HelperProcess::Start(c.work, c.limits);
    ASSERT_TRUE(helper);
    const itimerval soon{{0, c.limits.stop ? 50'000 : 0}, {0, 50'000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
    char byte = 0;
    EXPECT_EQ(helper->Line().Receive(&byte, 1), c.answers) << c.name;
    EXPECT_EQ(byte, c.answers ? 'x' : 0) << c.name;
    EXPECT_LT(MonotonicSeconds() - began, 30) << c.name;
    setitimer(ITIMER_REAL, &never, nullptr);
  }
  sigaction(SIGALRM, &before, nullptr);
}

TEST(ServerProgram, OutputCountsOfWhatEndedWell) {
  EXPECT_EQ(OutputOf({"/bin/sh", "-c", "echo said"}), "said\n");
  EXPECT_EQ(OutputOf({"/bin/sh", "-c", "echo said; exit 3"}), std::nullopt);
  EXPECT_EQ(OutputOf({"/bin/sh", "-c", "echo said; kill -9 $$"}), std::nullopt);
  EXPECT_EQ(OutputOf({"/nowhere"}), std::nullopt);
}

TEST(Command, EndsByABrokenPipeThoughWeDoNot) {
  const auto before = signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(platform::RunCommand("exit $ANSWER", {{"ANSWER", "7"}}), 7);
  EXPECT_EQ(platform::RunCommand("kill -PIPE $$; exit 7", {}), 128 + SIGPIPE);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  platform::RunCommand("echo said", {});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "said\n");
  signal(SIGPIPE, before);
}

}  // namespace
}  // namespace larkspur::platform
