// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

#include <stdbool.h>

// A folder for the caches of this run, made at the first call, with a name that is no plain one.
const wchar_t* CachePath(const wchar_t* name);
void WriteFileOf(const wchar_t* path, const char* bytes);
void RemoveCacheFolder(void);
