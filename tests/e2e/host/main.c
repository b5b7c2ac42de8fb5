// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A small host that knows the module by its binary contract alone.
// Usage: larkspur-contract-host MODULE [GROUP...]

#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include "checks.h"
#include "host.h"

typedef struct {
  const wchar_t* name;
  void (*check)(const Module* module);
} Group;

static const Group kGroups[] = {
    {L"identity", CheckIdentity}, {L"heap", CheckHeap},           {L"languages", CheckLanguages},
    {L"refusals", CheckRefusals}, {L"cancelled", CheckCancelled}, {L"road", CheckRoad},
    {L"messages", CheckMessages}, {L"dialog", CheckDialog},       {L"about", CheckAbout},
    {L"growth", CheckGrowth},     {L"speed", MeasureSpeed},
};

// The groups that the command line names; all when it names none.
static wchar_t** wanted;
static int wantedCount;

static bool IsWanted(const wchar_t* name) {
  for (int i = 0; i < wantedCount; ++i) {
    if (wcscmp(name, wanted[i]) == 0) return true;
  }
  return wantedCount == 0;
}

// Before these groups a host may be without a heap.
static bool ComesBeforeTheHeap(const Group* group) {
  return group->check == CheckIdentity || group->check == CheckHeap;
}

static void RunGroups(const Module* module) {
  for (size_t i = 0; i < sizeof kGroups / sizeof *kGroups; ++i) {
    if (!IsWanted(kGroups[i].name)) continue;
    const int before = FailedChecks();
    if (!ComesBeforeTheHeap(&kGroups[i])) ShareHeap(module->heap());
    kGroups[i].check(module);
    printf("%s %ls\n", FailedChecks() == before ? "passed" : "FAILED", kGroups[i].name);
  }
}

// A module that was not used, not even for a heap, goes as it came.
static bool LeavesQuietly(const wchar_t* path) {
  Module module;
  return OpenModule(&module, path) && CHECK(FreeLibrary(module.library));
}

int wmain(int count, wchar_t** arguments) {
  if (count < 2) {
    puts("usage: larkspur-contract-host MODULE [GROUP...]");
    return 2;
  }
  wanted = arguments + 2;
  wantedCount = count - 2;
  setvbuf(stdout, NULL, _IONBF, 0);  // what was said is there even when the module crashes
  if (!LeavesQuietly(arguments[1])) return 1;
  if (IsWanted(L"loading")) MeasureLoading(arguments[1]);
  Module module;
  if (!OpenModule(&module, arguments[1])) return 1;
  RunGroups(&module);
  CHECK(FreeLibrary(module.library));
  if (kHeapIsExported && IsWanted(L"unloading")) {
    const int before = FailedChecks();
    CheckUnloading(arguments[1]);
    printf("%s unloading\n", FailedChecks() == before ? "passed" : "FAILED");
  }
  RemoveCacheFolder();
  printf("%d checks failed\n", FailedChecks());
  return FailedChecks() == 0 ? 0 : 1;
}
