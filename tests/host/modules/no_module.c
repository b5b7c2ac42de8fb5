// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A library that is no module. Loading it would end the program.

#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)instance;
  (void)reserved;
  if (reason == DLL_PROCESS_ATTACH) ExitProcess(77);
  return TRUE;
}

__declspec(dllexport) int helpful(void) {
  return 1;
}
