// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The groups of checks that the program runs, each by its name.

#include "larkspur_host.h"

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
