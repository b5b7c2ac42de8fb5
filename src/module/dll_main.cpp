// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Leaves nothing behind when the host unloads the module while it runs on. At the end of the
// process nothing is freed: the host's heap may be gone already.

#include <windows.h>

#include "catalog/message_catalog.h"
#include "io/path_locks.h"
#include "module/delay_load.h"

// The room that the run-time library keeps for exceptions thrown without memory.
namespace __gnu_cxx {
void __freeres();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) larkspur::LoadDelayedFromSystemFolder();
  if (reason == DLL_PROCESS_DETACH && !processEnds) {
    larkspur::ReleaseMessages();
    larkspur::ReleasePathLocks();
    __gnu_cxx::__freeres();
  }
  return TRUE;
}
