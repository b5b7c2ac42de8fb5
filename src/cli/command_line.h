// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the program is asked for, by its arguments.

#include <functional>
#include <string>
#include <vector>

#include "base/exit_status.h"

namespace larkspur::cli {

using Action = std::function<ExitStatus()>;

// What the arguments, without the program's name, ask for. Nothing is done yet but to print help,
// or what is wrong with the arguments: the action then only answers the exit status. Never empty.
Action ParseCommandLine(std::vector<std::string> arguments);

}  // namespace larkspur::cli
