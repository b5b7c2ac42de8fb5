// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Worker threads as cJob needs them: started with a routine, asked whether they still run, and
// forced to leave whatever they are doing.

#include "base/types.h"

namespace larkspur::platform {

// The system's record of a started thread; closed by the one that started it.
using ThreadHandle = void*;

using ThreadRoutine = u32 (*)(void* argument);

// Starts routine(argument) on a thread of its own; null on failure. A forced stop leaves the
// routine's callees by an exception that `catch (...)` sees on Windows. On POSIX it is the C
// library's forced unwinding: destructors run and `catch (...)` must throw on.
ThreadHandle StartThread(ThreadRoutine routine, void* argument);

// False as well when the handle cannot be asked.
bool IsThreadRunning(ThreadHandle thread);

// Makes a running thread leave its work by an exception: on Windows wherever it stands, on POSIX at
// its next cancellation point (a blocking system call). Does not wait.
void ForceThreadToStop(ThreadHandle thread);

// Waits for the thread's end where the system needs that, and frees the record.
void CloseThread(ThreadHandle thread);

// Calls work(argument) and answers true; false when it was left by an exception. A forced stop on
// POSIX runs `onAbort(argument)` and then ends the thread.
bool RunGuarded(void (*work)(void*), void (*onAbort)(void*), void* argument);

}  // namespace larkspur::platform
