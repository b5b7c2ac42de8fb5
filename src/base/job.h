// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A piece of work on a thread of its own, with a cooperative stop and, as a last resort, a forced
// one: on Windows the thread throws wherever it stands, on POSIX at its next blocking call. A job
// keeps its state exception-safe.
//
// Start, Stop and IsRunning are called from one thread; RequestStop from any.

#include <atomic>

#include "base/critical_section.h"
#include "base/types.h"
#include "base/wide_string.h"
#include "platform/thread.h"

namespace larkspur {

// Whom a job works for; its first operation answers the job's QueryOwner.
class cJobOwner {
 public:
  virtual u32 QueryJobOwner() = 0;

 protected:
  ~cJobOwner() = default;
};

class cJob {
 public:
  // How long Start, Destroy and the like wait before they force an earlier run to stop.
  static constexpr u32 kPatienceMilliseconds = 4000;

  // `owner` may be null and outlives the job.
  explicit cJob(cJobOwner* owner) : m_owner(owner) {}
  cJob(const cJob&) = delete;
  cJob& operator=(const cJob&) = delete;

  // The work, on the job's thread; polls StopRequested(). The exit code 259 becomes 1.
  virtual u32 Run() = 0;
  virtual void OnStart() {}
  // Called by RequestStop with the job's lock held; may not call Start or Stop.
  virtual void OnStopRequested() {}
  // After Run, on the job's thread; code 0 after an aborted run.
  virtual void OnFinished(u32 /*code*/) {}
  // When Run was left by an exception, before OnFinished.
  virtual void OnAborted() {}
  // The owner's answer; 1 without an owner.
  virtual u32 QueryOwner() { return m_owner ? m_owner->QueryJobOwner() : 1; }
  // Stops the job first. A derived class stops it in its own destructor, while its Run still
  // exists.
  virtual void* Destroy(u32 flags) = 0;

  // Stops an earlier run and starts a new one; false when there is no thread to be had.
  bool Start();
  void RequestStop();
  bool IsRunning();
  // Asks the job to stop, waits up to `timeoutMs`, then forces it and waits on. Always true.
  bool Stop(u32 timeoutMs);

  bool StopRequested() const { return m_stopRequested; }
  // The same for those who watch it themselves.
  const std::atomic<bool>& StopFlag() const { return m_stopRequested; }

 protected:
  ~cJob() { Stop(kPatienceMilliseconds); }

  cWideString& Text() { return m_text; }

 private:
  static u32 ThreadRoutine(void* argument);
  static void Work(void* argument);
  static void Abort(void* argument);
  void CloseHandleLocked();

  cJobOwner* m_owner;
  std::atomic<bool> m_stopRequested{false};
  std::atomic<bool> m_finished{true};
  cWideString m_text;
  cCriticalSection m_section;
  platform::ThreadHandle m_thread = nullptr;
  u32 m_exitCode = 0;
};

}  // namespace larkspur
