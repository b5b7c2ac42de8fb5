// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Checks that continue after a failure, and are counted.

#include <stdbool.h>
#include <stdint.h>

// Says where a check failed, and counts it.
bool CheckAt(bool holds, const char* what, const char* file, int line);
bool CheckEqualAt(uint64_t seen, uint64_t wanted, const char* what, const char* file, int line);
bool CheckTextAt(const uint16_t* seen, const wchar_t* wanted, const char* file, int line);
int FailedChecks(void);

#define CHECK(holds) CheckAt((holds), #holds, __FILE__, __LINE__)
#define CHECK_EQUAL(seen, wanted) \
  CheckEqualAt((uint64_t)(seen), (uint64_t)(wanted), #seen, __FILE__, __LINE__)
#define CHECK_TEXT(seen, wanted) CheckTextAt((seen), (wanted), __FILE__, __LINE__)
