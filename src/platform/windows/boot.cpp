// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/boot.h"

#include <windows.h>

namespace larkspur::platform {

// The minute in which it started: the clock on the wall less the time since then.
std::string BootId() {
  constexpr ULONGLONG kTicksPerMillisecond = 10'000;
  constexpr ULONGLONG kTicksPerMinute = 60'000 * kTicksPerMillisecond;
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const ULONGLONG ticks = ULONGLONG{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  const ULONGLONG started = ticks - GetTickCount64() * kTicksPerMillisecond;
  return std::to_string((started + kTicksPerMinute / 2) / kTicksPerMinute);
}

// Windows gives a disk no number of its own each time that it is plugged in.
std::string MediumStay(const char16_t*) {
  return {};
}

}  // namespace larkspur::platform
