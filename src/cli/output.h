// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the command line prints: results to standard output, everything else to standard error.
// Control characters that disks, drives and file names brought in do not get that far.

#include <string>
#include <string_view>

#include <fmt/core.h>

#include "base/exit_status.h"
#include "cli/json.h"
#include "io/status_counts.h"

namespace larkspur::cli {

void Print(const std::string& text);
// Bytes as they are. False when standard output does not take them; FinishOutput tells.
bool PrintBytes(const void* bytes, size_t count);
void PrintJson(const Json& document);
// What a run made of so many sectors: a line for each status.
void PrintCounts(const StatusCounts& counts, u64 sectors);

// The same for what stdout still held back.
bool FlushOutput();

// For the program's end: `status`, or kExitFailed, and the user is told, when standard output did
// not take all of the results.
ExitStatus FinishOutput(ExitStatus status);

// Appends `text`, which is ASCII, at the right of a column of `width` characters; a longer one
// takes what it needs. For tables of thousands of rows: the formatter takes several times as long.
void AppendRight(std::string* row, std::string_view text, size_t width);

// Shows `line` on the terminal, in `width` columns and in place of the last one that was shown so.
// Whatever is printed or told next comes below it.
void ShowProgress(const std::string& line, size_t width);

// A line "larkspur: ..." for the user, beside the results.
void Tell(const std::string& message);

// Tells what failed and answers kExitFailed.
ExitStatus Fail(const std::string& message);

// "name: message: what the system said", without the last part when `systemError` is 0.
std::string Failure(const std::string& name, const std::string& message, unsigned systemError);

}  // namespace larkspur::cli
