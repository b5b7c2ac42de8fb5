// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/job.h"

#include "platform/clock.h"

namespace larkspur {
namespace {

constexpr u32 kPollMilliseconds = 10;

// Windows reads this exit code as "the thread still runs".
constexpr u32 kStillActive = 259;

}  // namespace

bool cJob::Start() {
  Stop(kPatienceMilliseconds);
  cSafeCriticalSectionAccess access(&m_section);
  m_stopRequested = false;
  m_finished = false;
  m_thread = platform::StartThread(ThreadRoutine, this);
  if (!m_thread) m_finished = true;
  return m_thread != nullptr;
}

void cJob::RequestStop() {
  cSafeCriticalSectionAccess access(&m_section);
  m_stopRequested = true;
  OnStopRequested();
}

bool cJob::IsRunning() {
  if (m_finished && !m_thread) return false;
  if (m_thread && platform::IsThreadRunning(m_thread)) return true;
  cSafeCriticalSectionAccess access(&m_section);
  CloseHandleLocked();
  m_finished = true;
  return false;
}

bool cJob::Stop(u32 timeoutMs) {
  if (!IsRunning()) return true;
  RequestStop();
  for (u32 round = 0; round < timeoutMs / kPollMilliseconds && IsRunning(); ++round) {
    platform::SleepMilliseconds(kPollMilliseconds);
  }
  if (!IsRunning()) return true;
  platform::ForceThreadToStop(m_thread);
  do {
    platform::SleepMilliseconds(kPollMilliseconds);
  } while (IsRunning());
  return true;
}

void cJob::CloseHandleLocked() {
  if (m_thread) platform::CloseThread(m_thread);
  m_thread = nullptr;
}

u32 cJob::ThreadRoutine(void* argument) {
  cJob* job = static_cast<cJob*>(argument);
  const bool completed = platform::RunGuarded(Work, Abort, job);
  const u32 code = completed ? job->m_exitCode : 0;
  job->m_finished = true;
  return code;
}

void cJob::Work(void* argument) {
  cJob* job = static_cast<cJob*>(argument);
  job->OnStart();
  const u32 code = job->Run();
  job->m_exitCode = code == kStillActive ? 1 : code;
  job->OnFinished(job->m_exitCode);
}

void cJob::Abort(void* argument) {
  cJob* job = static_cast<cJob*>(argument);
  job->OnAborted();
  job->OnFinished(0);
  job->m_finished = true;
}

}  // namespace larkspur
