// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Words of a program with windows for the console or the script that started it: to the handles
// that it inherited, or else to its parent's console. Text is UTF-8.

#include <string>

namespace larkspur::host {

// Results.
void Print(const std::string& text);
// A line "larkspur-host: ..." beside the results.
void Tell(const std::string& message);

}  // namespace larkspur::host
