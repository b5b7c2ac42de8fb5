// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/detached_work.h"

#include <atomic>
#include <new>

namespace larkspur {
namespace {

using Work = std::function<void()>;

std::atomic<u32> g_running{0};

// The module that this code lies in, kept loaded; a program needs no keeping.
HMODULE KeepModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<const wchar_t*>(&KeepModule), &module);
  return module;
}

void RunAndEnd(Work* work) {
  const std::unique_ptr<Work> owned(work);
  try {
    (*work)();
  } catch (const std::bad_alloc&) {
    // The caller does not wait, so there is no one to tell.
  }
  --g_running;
}

struct Start {
  Work* work;
  HMODULE module;
};

DWORD WINAPI ThreadRoutine(void* argument) {
  const Start start = *static_cast<Start*>(argument);
  delete static_cast<Start*>(argument);
  RunAndEnd(start.work);
  FreeLibraryAndExitThread(start.module, 0);
}

}  // namespace

u32 CountDetachedWork() {
  return g_running;
}

bool RunDetached(Work work) {
  auto owned = std::make_unique<Work>(std::move(work));
  auto start = std::make_unique<Start>(Start{owned.get(), KeepModule()});
  ++g_running;
  const HANDLE thread = CreateThread(nullptr, 0, ThreadRoutine, start.get(), 0, nullptr);
  if (!thread) {
    --g_running;
    FreeLibrary(start->module);
    return false;
  }
  CloseHandle(thread);
  owned.release();
  start.release();
  return true;
}

}  // namespace larkspur
