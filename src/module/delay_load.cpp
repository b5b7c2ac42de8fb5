// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "module/delay_load.h"

#include <windows.h>

#include <delayimp.h>

#include "platform/windows/system_library.h"

namespace larkspur {
namespace {

constexpr size_t kNameCharacters = 64;

// What the run-time library asks before it loads a library; null leaves it to it.
FARPROC WINAPI OnDelayLoad(unsigned event, PDelayLoadInfo info) {
  if (event != dliNotePreLoadLibrary) return nullptr;
  wchar_t name[kNameCharacters];
  if (MultiByteToWideChar(CP_ACP, 0, info->szDll, -1, name, kNameCharacters) == 0) return nullptr;
  return reinterpret_cast<FARPROC>(platform::LoadSystemLibrary(name));
}

}  // namespace

void LoadDelayedFromSystemFolder() {
  __pfnDliNotifyHook2 = OnDelayLoad;
}

}  // namespace larkspur
