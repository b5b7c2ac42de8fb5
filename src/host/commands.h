// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the program does without its window, for scripts, tests and reports.

#include <string>

#include "base/exit_status.h"
#include "host/model/command_line.h"

namespace larkspur::host {

// Words of a program with windows for the console or the script that started it: to the handles
// that it inherited, or else to its parent's console. Text is UTF-8.

// Results.
void Print(const std::string& text);
// A line "larkspur-host: ..." beside the results.
void Tell(const std::string& message);

ExitStatus RunList(const CommandLine& line);
ExitStatus RunOpen(const CommandLine& line);
ExitStatus RunMake(const CommandLine& line);

}  // namespace larkspur::host
