// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cache_folder.h"

#include <string.h>
#include <wchar.h>

static wchar_t folder[MAX_PATH];

static void MakeFolder(void) {
  wchar_t base[MAX_PATH];
  GetTempPathW(MAX_PATH, base);
  swprintf(folder, MAX_PATH, L"%lscaches \x0436 %lu", base, GetCurrentProcessId());
  RemoveCacheFolder();  // what a run that was cut short has left
  CreateDirectoryW(folder, NULL);
}

const wchar_t* CachePath(const wchar_t* name) {
  static wchar_t path[2 * MAX_PATH];
  if (!folder[0]) MakeFolder();
  swprintf(path, 2 * MAX_PATH, L"%ls\\%ls", folder, name);
  return path;
}

void WriteFileOf(const wchar_t* path, const char* bytes) {
  DWORD written;
  const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL);
  WriteFile(file, bytes, (DWORD)strlen(bytes), &written, NULL);
  CloseHandle(file);
}

void RemoveCacheFolder(void) {
  if (!folder[0]) return;
  wchar_t pattern[2 * MAX_PATH];
  wcscpy(pattern, CachePath(L"*"));
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(pattern, &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    DeleteFileW(CachePath(found.cFileName));
  } while (FindNextFileW(search, &found));
  FindClose(search);
  RemoveDirectoryW(folder);
}
