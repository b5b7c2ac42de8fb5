// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What a hundred uses leave behind.

#include <windows.h>

#include <psapi.h>
#include <stdio.h>
#include <wchar.h>

#include "checks.h"
#include "disk.h"
#include "host.h"
#include "resources.h"
#include "user.h"

static const wchar_t kTitle[] = L"Define Larkspur storage";

static void Define(HWND form, void* cache) {
  ChooseRow(form, 1);
  TypeText(form, cache);
  Press(form, kAccept);
}

static void Cancel(HWND form, void* unused) {
  (void)unused;
  Press(form, kCancel);
}

static void DefineOnce(const Module* module, Disk* disk, HostElement* parent, bool cancels) {
  HostList list;
  MakeList(&list);
  AddStorage(&list, OpenDisk(disk));
  wchar_t cache[2 * MAX_PATH];
  wcscpy(cache, CachePath(L"growth.kvrsp"));
  StartUser(kTitle, cancels ? Cancel : Define, cache);
  CHECK((module->makeinstance(&list.base, &parent->base) == NULL) == cancels);
  CHECK(UserIsDone());
  ClearList(&list);
}

void CheckGrowth(const Module* module) {
  enum { kWarmingUp = 5, kRounds = 100 };
  static Disk disk;
  HostElement parent;
  MakeDisk(&disk, L"SERIAL-1");
  MakeElement(&parent, OpenHostWindow());
  Resources before = {0};
  for (int round = 0; round < kWarmingUp + kRounds; ++round) {
    if (round == kWarmingUp) before = CountResources(module->heap());
    DefineOnce(module, &disk, &parent, round % 3 == 0);
  }
  const Resources after = CountResources(module->heap());
  CHECK(CompareResources("after 100 more forms", &before, &after, 0));
  CHECK_EQUAL(disk.alive, 0);
  DestroyWindow(parent.window);
}

// The system's own libraries stay, so that what they leave behind at their end is not counted.
static void KeepOtherLibraries(void) {
  HMODULE modules[256], kept;
  DWORD bytes = 0;
  K32EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &bytes);
  for (DWORD i = 0; i < bytes / sizeof *modules && i < 256; ++i) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(modules[i], path, MAX_PATH);
    const wchar_t* const name = wcsrchr(path, L'\\');
    if (name && _wcsicmp(name + 1, L"larkspur.dll") != 0) {
      GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         (const wchar_t*)modules[i], &kept);
    }
  }
}

static void UseAndUnload(const wchar_t* path) {
  Module module;
  HostText name, description;
  if (!CHECK(OpenModule(&module, path))) return;
  MakeText(&name);
  MakeText(&description);
  module.heap();
  CHECK(module.names(&name.base, &description.base));
  HostList list;
  HostElement parent;
  MakeList(&list);
  MakeElement(&parent, NULL);
  StartUser(kTitle, Cancel, NULL);
  CHECK(module.makeinstance(&list.base, &parent.base) == NULL);
  CHECK(UserIsDone());
  KeepOtherLibraries();
  CHECK(FreeLibrary(module.library));
}

void CheckUnloading(const wchar_t* path) {
  enum { kWarmingUp = 2, kRounds = 20 };
  Resources before = {0};
  for (int round = 0; round < kWarmingUp + kRounds; ++round) {
    if (round == kWarmingUp) before = CountResources(HostHeap());
    UseAndUnload(path);
    CHECK(GetModuleHandleW(L"larkspur.dll") == NULL);
  }
  const Resources after = CountResources(HostHeap());
  // The compiler's thread library keeps two handles of a thread that it knew when it is unloaded.
  CHECK(CompareResources("after 20 more loads", &before, &after, 2 * kRounds));
}
