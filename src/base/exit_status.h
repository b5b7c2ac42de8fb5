// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

namespace larkspur {

// What the programs answer the shell.
enum ExitStatus : int {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,
  kExitSomeUnreadable = 3,
  kExitInterrupted = 130,
};

}  // namespace larkspur
