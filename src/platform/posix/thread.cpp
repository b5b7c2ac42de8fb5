// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/thread.h"

#include <atomic>
#include <memory>
#include <new>

#include <cxxabi.h>
#include <pthread.h>

namespace larkspur::platform {
namespace {

struct Thread {
  ThreadRoutine routine;
  void* argument;
  pthread_t id{};
  std::atomic<bool> running{true};
};

// Says that the thread has ended also when a forced stop unwinds it.
struct EndNotice {
  Thread* thread;
  ~EndNotice() { thread->running = false; }
};

void* Enter(void* argument) {
  Thread* thread = static_cast<Thread*>(argument);
  EndNotice notice{thread};
  thread->routine(thread->argument);
  return nullptr;
}

}  // namespace

ThreadHandle StartThread(ThreadRoutine routine, void* argument) {
  Thread* thread = new (std::nothrow) Thread{routine, argument};
  if (!thread) return nullptr;
  if (pthread_create(&thread->id, nullptr, Enter, thread) == 0) return thread;
  delete thread;
  return nullptr;
}

bool IsThreadRunning(ThreadHandle thread) {
  return static_cast<Thread*>(thread)->running;
}

void ForceThreadToStop(ThreadHandle thread) {
  pthread_cancel(static_cast<Thread*>(thread)->id);
}

void CloseThread(ThreadHandle thread) {
  const std::unique_ptr<Thread> record(static_cast<Thread*>(thread));
  pthread_join(record->id, nullptr);
}

bool RunGuarded(void (*work)(void*), void (*onAbort)(void*), void* argument) {
  try {
    work(argument);
    return true;
  } catch (abi::__forced_unwind&) {
    onAbort(argument);
    throw;  // the C library insists on ending the thread
  } catch (...) {
    onAbort(argument);
    return false;
  }
}

}  // namespace larkspur::platform
