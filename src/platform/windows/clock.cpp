// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/clock.h"

#include <windows.h>

namespace larkspur::platform {
namespace {

constexpr i64 kUnixEpochSeconds = 11644473600;
constexpr i64 kTicksPerSecond = 10'000'000;

using ZoneConversion = BOOL(WINAPI*)(const void* zone, const SYSTEMTIME* local, SYSTEMTIME* utc);

// The Ex form knows each year's own rules; Windows has it since 7 only.
ZoneConversion FindExConversion() {
  const FARPROC found =
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "TzSpecificLocalTimeToSystemTimeEx");
  return reinterpret_cast<ZoneConversion>(reinterpret_cast<void*>(found));
}

bool ToUtc(const SYSTEMTIME* local, SYSTEMTIME* utc) {
  static const ZoneConversion ex = FindExConversion();
  return ex ? ex(nullptr, local, utc) : TzSpecificLocalTimeToSystemTime(nullptr, local, utc);
}

}  // namespace

u32 TickCount() {
  return GetTickCount();
}

double MonotonicSeconds() {
  LARGE_INTEGER count, frequency;
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

i64 LocalToUtcSeconds(i64 localSeconds) {
  ULARGE_INTEGER ticks;
  ticks.QuadPart = static_cast<u64>((localSeconds + kUnixEpochSeconds) * kTicksPerSecond);
  FILETIME time{ticks.LowPart, ticks.HighPart};
  SYSTEMTIME local, utc;
  if (!FileTimeToSystemTime(&time, &local) || !ToUtc(&local, &utc) ||
      !SystemTimeToFileTime(&utc, &time)) {
    return localSeconds;
  }
  ticks.LowPart = time.dwLowDateTime;
  ticks.HighPart = time.dwHighDateTime;
  return static_cast<i64>(ticks.QuadPart) / kTicksPerSecond - kUnixEpochSeconds;
}

void SleepMilliseconds(u32 milliseconds) {
  Sleep(milliseconds);
}

}  // namespace larkspur::platform
