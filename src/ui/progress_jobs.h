// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The two small jobs behind a progress view. They sleep but for a moment ten times a second, and
// run only while there is something to show.

#include <windows.h>

#include <atomic>

#include "base/job.h"
#include "base/owned.h"
#include "ui/model/progress.h"

namespace larkspur {

// Asks a window to show the progress again, by a posted message: what is painted is painted by the
// window's own thread. Posts nothing while the last message has not been taken.
class cProgressViewUpdateJob final : public cJob {
 public:
  explicit cProgressViewUpdateJob(cJobOwner* owner) : cJob(owner) {}
  ~cProgressViewUpdateJob() { Stop(kPatienceMilliseconds); }

  // REQUIRES: not running
  void SetTarget(HWND window, UINT message);
  // The window has got the message and may get another.
  void Taken() { m_pending = false; }

  u32 Run() override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  HWND m_window = nullptr;
  UINT m_message = 0;
  std::atomic<bool> m_pending{false};
};

// Lets the bar of an operation of unknown length move, such as going to a folder that is
// slow to answer: ever nearer to the end, and never there.
class cFakeNavigationProgressJob final : public cJob {
 public:
  cFakeNavigationProgressJob(cJobOwner* owner, cProgressFeed& feed) : cJob(owner), m_feed(feed) {}
  ~cFakeNavigationProgressJob() { Stop(kPatienceMilliseconds); }

  u32 Run() override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  cProgressFeed& m_feed;
};

}  // namespace larkspur
