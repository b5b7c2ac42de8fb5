// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/clock.h"

#include <ctime>

namespace larkspur::platform {

u32 TickCount() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return static_cast<u32>(static_cast<u64>(now.tv_sec) * 1000 +
                          static_cast<u64>(now.tv_nsec) / 1'000'000);
}

double MonotonicSeconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

i64 LocalToUtcSeconds(i64 localSeconds) {
  const time_t given = localSeconds;
  tm fields{};
  if (!gmtime_r(&given, &fields)) return localSeconds;
  fields.tm_isdst = -1;
  const time_t utc = mktime(&fields);
  return utc == -1 ? localSeconds : utc;
}

void SleepMilliseconds(u32 milliseconds) {
  const timespec time{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1'000'000};
  nanosleep(&time, nullptr);
}

}  // namespace larkspur::platform
