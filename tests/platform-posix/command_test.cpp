// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/command.h"

#include <csignal>

#include <gtest/gtest.h>

namespace larkspur {
namespace {

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
}  // namespace larkspur
