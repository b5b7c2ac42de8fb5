// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the program does without its window, for scripts, tests and reports.

#include "base/exit_status.h"
#include "host/model/command_line.h"

namespace larkspur::host {

ExitStatus RunList(const CommandLine& line);
ExitStatus RunOpen(const CommandLine& line);
ExitStatus RunMake(const CommandLine& line);

}  // namespace larkspur::host
