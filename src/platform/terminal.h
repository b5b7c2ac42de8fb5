// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The program's own surroundings: its arguments, its console, and the user's wish to stop.

#include <atomic>
#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur::platform {

// The program's arguments after its name, in the encoding of base/path_text.h.
std::vector<std::string> ProgramArguments(int argc, char** argv);

// To be called before anything is opened. Bytes go out as they are, UTF-8 shows as letters; a
// stream that the caller had closed fails when it is used, and no file gets its number; a write
// to a pipe without a reader fails as well, and does not end the program.
void PrepareStandardStreams();

// Writes to standard output, past what stdio holds back. False with errno when it does not take all
// of it; EINTR where the user has interrupted the program before its reader took it.
bool WriteOutput(const void* bytes, size_t count);

// What standard output has not taken by now goes nowhere, without waiting for its reader.
void DropOutput();

bool IsErrorOutputATerminal();
bool IsOutputATerminal();

// The terminal's width in characters; 80 where there is none.
u32 TerminalColumns();

// A flag that Ctrl-C (and a request to terminate) sets, unless the caller had it ignored, as nohup
// does. The first one only sets the flag; a second ends the program at once. Lives as long as the
// program.
const std::atomic<bool>& InterruptFlag();

}  // namespace larkspur::platform
