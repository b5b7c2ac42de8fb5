// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// How long the module takes; the host in C of the tests runs it (docs/performance.md).

#include <windows.h>

#include <stdio.h>

#include "checks.h"
#include "disk.h"
#include "host.h"
#include "user.h"

static const wchar_t kTitle[] = L"Define Larkspur storage";

static void Cancel(HWND form, void* unused) {
  (void)unused;
  Press(form, kCancel);
}

void MeasureLoading(const wchar_t* path) {
  LARGE_INTEGER start, loaded, named, frequency;
  Module module;
  HostText name, description;
  MakeText(&name);
  MakeText(&description);
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  if (!CHECK(OpenModule(&module, path))) return;
  QueryPerformanceCounter(&loaded);
  module.heap();
  CHECK(module.names(&name.base, &description.base));
  QueryPerformanceCounter(&named);
  const double perMillisecond = (double)frequency.QuadPart / 1000;
  printf("loading took %.1f ms, names %.1f ms more\n",
         (double)(loaded.QuadPart - start.QuadPart) / perMillisecond,
         (double)(named.QuadPart - loaded.QuadPart) / perMillisecond);
  FreeLibrary(module.library);
}

// The dialog over a hundred storages, from the call to the window's appearance.
void MeasureSpeed(const Module* module) {
  enum { kStorages = 100, kRounds = 10, kRestMilliseconds = 200 };
  static Disk disks[kStorages];
  HostList list;
  HostElement parent;
  MakeList(&list);
  MakeElement(&parent, OpenHostWindow());
  for (int i = 0; i < kStorages; ++i) {
    MakeDisk(&disks[i], L"SERIAL");
    AddStorage(&list, OpenDisk(&disks[i]));
  }
  double least = 1e9, most = 0;
  for (int round = 0; round < kRounds; ++round) {
    // The system is still taking down the form before, and would be slower for that.
    Sleep(kRestMilliseconds);
    StartUser(kTitle, Cancel, NULL);
    CHECK(module->makeinstance(&list.base, &parent.base) == NULL);
    CHECK(UserIsDone());
    const double taken = MillisecondsToWindow();
    if (taken < least) least = taken;
    if (taken > most) most = taken;
  }
  printf("dialog over %d storages: %.1f to %.1f ms until it is seen\n", kStorages, least, most);
  ClearList(&list);
  DestroyWindow(parent.window);
}
