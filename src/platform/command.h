// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace larkspur::platform {

// Runs a line of the system's shell to its end, with these variables (UTF-8) added to the
// environment, and answers its exit status, 128 and the signal's number where one ended it; below 0
// when it could not be run. What it prints goes to standard error: standard output is for our
// results.
int RunCommand(const std::string& line,
               const std::vector<std::pair<std::string, std::string>>& environment);

}  // namespace larkspur::platform
