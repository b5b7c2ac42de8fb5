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
  EXPECT_EQ(platform::RunCommand("kill -PIPE $$; exit 7", {}), -1);
  signal(SIGPIPE, before);
}

}  // namespace
}  // namespace larkspur
