// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/progress_jobs.h"

#include "platform/clock.h"
#include "ui/model/progress.h"

namespace larkspur {
namespace {

constexpr u32 kRestMilliseconds = 100;
constexpr double kHalfSeconds = 4;

}  // namespace

void cProgressViewUpdateJob::SetTarget(HWND window, UINT message) {
  m_window = window;
  m_message = message;
  m_pending = false;
}

u32 cProgressViewUpdateJob::Run() {
  while (!StopRequested()) {
    // A window that is gone takes no messages, and none are wanted any more.
    if (!m_pending.exchange(true) && !PostMessageW(m_window, m_message, 0, 0)) return 0;
    platform::SleepMilliseconds(kRestMilliseconds);
  }
  return 1;
}

u32 cFakeNavigationProgressJob::Run() {
  const double start = platform::MonotonicSeconds();
  while (!StopRequested()) {
    m_feed.Suppose(SupposedShare(platform::MonotonicSeconds() - start, kHalfSeconds));
    platform::SleepMilliseconds(kRestMilliseconds);
  }
  return 1;
}

}  // namespace larkspur
