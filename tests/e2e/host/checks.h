// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Checks that continue after a failure, and are counted; and the groups of them.

#include <stdbool.h>
#include <stdint.h>

#include "larkspur_host.h"

// Says where a check failed, and counts it.
bool CheckAt(bool holds, const char* what, const char* file, int line);
bool CheckEqualAt(uint64_t seen, uint64_t wanted, const char* what, const char* file, int line);
bool CheckTextAt(const uint16_t* seen, const wchar_t* wanted, const char* file, int line);
int FailedChecks(void);

#define CHECK(holds) CheckAt((holds), #holds, __FILE__, __LINE__)
#define CHECK_EQUAL(seen, wanted) \
  CheckEqualAt((uint64_t)(seen), (uint64_t)(wanted), #seen, __FILE__, __LINE__)
#define CHECK_TEXT(seen, wanted) CheckTextAt((seen), (wanted), __FILE__, __LINE__)

// The groups of checks that the program runs, each by its name.

void CheckIdentity(const Module* module);
void CheckHeap(const Module* module);
void CheckLanguages(const Module* module);
void CheckRefusals(const Module* module);
void CheckCancelled(const Module* module);
void CheckRoad(const Module* module);
void CheckMessages(const Module* module);
void CheckDialog(const Module* module);
void CheckAbout(const Module* module);
void CheckGrowth(const Module* module);
void CheckUnloading(const wchar_t* path);
// The first load in the process, with the system libraries that come along.
void MeasureLoading(const wchar_t* path);
void MeasureSpeed(const Module* module);
