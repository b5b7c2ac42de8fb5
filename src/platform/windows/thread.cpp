// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/thread.h"

#include <windows.h>

#include <new>

#include <process.h>

namespace larkspur::platform {
namespace {

struct Start {
  ThreadRoutine routine;
  void* argument;
};

unsigned __stdcall Enter(void* argument) {
  const Start start = *static_cast<Start*>(argument);
  delete static_cast<Start*>(argument);
  return start.routine(start.argument);
}

}  // namespace

// Where a forced thread continues. It looks called by the interrupted instruction, whose address
// the stopper has pushed, but with any stack alignment: a frame of known shape puts that right
// before the throw, and lets the unwinder find the way back.
extern "C" [[noreturn]] void larkspur_throw_forced_stop() {
  throw 0;
}
extern "C" void larkspur_forced_stop_entry();
asm(R"(
  .text
  .globl larkspur_forced_stop_entry
  .def larkspur_forced_stop_entry; .scl 2; .type 32; .endef
  .seh_proc larkspur_forced_stop_entry
larkspur_forced_stop_entry:
  pushq %rbp
  .seh_pushreg %rbp
  movq %rsp, %rbp
  .seh_setframe %rbp, 0
  .seh_endprologue
  andq $-16, %rsp
  subq $32, %rsp
  call larkspur_throw_forced_stop
  nop
  .seh_endproc
)");

ThreadHandle StartThread(ThreadRoutine routine, void* argument) {
  Start* start = new (std::nothrow) Start{routine, argument};
  if (!start) return nullptr;
  const uintptr_t thread = _beginthreadex(nullptr, 0, Enter, start, 0, nullptr);
  if (thread) return reinterpret_cast<ThreadHandle>(thread);
  delete start;
  return nullptr;
}

bool IsThreadRunning(ThreadHandle thread) {
  DWORD code = 0;
  return GetExitCodeThread(thread, &code) && code == STILL_ACTIVE;
}

void ForceThreadToStop(ThreadHandle thread) {
  if (SuspendThread(thread) == static_cast<DWORD>(-1)) return;
  CONTEXT context{};
  context.ContextFlags = CONTEXT_INTEGER | CONTEXT_CONTROL;
  if (GetThreadContext(thread, &context)) {
    context.Rsp -= sizeof(DWORD64);
    *reinterpret_cast<DWORD64*>(context.Rsp) = context.Rip;
    context.Rip = reinterpret_cast<DWORD64>(&larkspur_forced_stop_entry);
    SetThreadContext(thread, &context);
  }
  ResumeThread(thread);
}

void CloseThread(ThreadHandle thread) {
  CloseHandle(thread);
}

bool RunGuarded(void (*work)(void*), void (*onAbort)(void*), void* argument) {
  try {
    work(argument);
    return true;
  } catch (...) {
    onAbort(argument);
    return false;
  }
}

}  // namespace larkspur::platform
