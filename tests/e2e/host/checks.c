// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "checks.h"

#include <stdio.h>
#include <wchar.h>

static int failed;

bool CheckAt(bool holds, const char* what, const char* file, int line) {
  if (holds) return true;
  printf("%s:%d: %s does not hold\n", file, line, what);
  ++failed;
  return false;
}

bool CheckEqualAt(uint64_t seen, uint64_t wanted, const char* what, const char* file, int line) {
  if (seen == wanted) return true;
  printf("%s:%d: %s is %llu, not %llu\n", file, line, what, (unsigned long long)seen,
         (unsigned long long)wanted);
  ++failed;
  return false;
}

bool CheckTextAt(const uint16_t* seen, const wchar_t* wanted, const char* file, int line) {
  if (seen && wcscmp((const wchar_t*)seen, wanted) == 0) return true;
  printf("%s:%d: the text is \"%ls\", not \"%ls\"\n", file, line,
         seen ? (const wchar_t*)seen : L"(null)", wanted);
  ++failed;
  return false;
}

int FailedChecks(void) {
  return failed;
}
