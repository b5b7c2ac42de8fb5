// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The module's coming and going.

#include <windows.h>

#include <delayimp.h>

#include "catalog/message_catalog.h"
#include "dialogs/file_choose_dialog.h"
#include "io/shared_file.h"
#include "platform/windows/system_library.h"

// The room that the run-time library keeps for exceptions thrown without memory.
namespace __gnu_cxx {
void __freeres();
}

namespace {

constexpr size_t kNameCharacters = 64;

// What the run-time library asks before it loads a library at its first call; null leaves it to it.
// The usual search begins where the host's program lies, often a folder of downloads in which
// anything may lie: the system's folder serves instead.
FARPROC WINAPI OnDelayLoad(unsigned event, PDelayLoadInfo info) {
  if (event != dliNotePreLoadLibrary) return nullptr;
  wchar_t name[kNameCharacters];
  if (MultiByteToWideChar(CP_ACP, 0, info->szDll, -1, name, kNameCharacters) == 0) return nullptr;
  return reinterpret_cast<FARPROC>(larkspur::platform::LoadSystemLibrary(name));
}

// Leaves nothing behind when the host unloads the module while it runs on.
void ReleaseAll() {
  larkspur::ForgetChosenFolder();
  larkspur::ReleaseMessages();
  larkspur::ReleasePathLocks();
  __gnu_cxx::__freeres();
}

}  // namespace

// At the end of the process nothing is freed: the host's heap may be gone already.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) __pfnDliNotifyHook2 = OnDelayLoad;
  if (reason == DLL_PROCESS_DETACH && !processEnds) ReleaseAll();
  return TRUE;
}
