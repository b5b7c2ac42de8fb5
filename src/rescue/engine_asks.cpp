// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// How the engine asks, what a failure means, and how the store is kept.

#include <algorithm>
#include <cstdio>

#include "platform/system_error.h"
#include "rescue/engine.h"

namespace larkspur {
namespace {

constexpr double kTickSeconds = 0.2;
constexpr double kHangSeconds = 1;
constexpr u32 kMostSystemFailures = 8;
constexpr double kSystemPause = 0.25;  // seconds, longer with each failure in a row
constexpr size_t kMostNamed = 1 << 16;

}  // namespace

bool Engine::IsStopping() {
  return m_reason != StopReason::kNone || *m_stop;
}

void Engine::StopWith(StopReason reason, u32 systemError) {
  if (m_reason != StopReason::kNone) return;
  m_reason = reason;
  m_systemError = systemError;
}

bool Engine::StopForStore() {
  const u32 code = platform::LastFailure();
  StopWith(platform::IsDiskFull(code) ? StopReason::kFull : StopReason::kStoreFailed, code);
  return false;
}

bool Engine::StopForUnreadableCache() {
  StopWith(StopReason::kCacheUnreadable, platform::LastFailure());
  return false;
}

void Engine::Stream(bool alone, const Next& next, const Settled& settled) {
  while (!IsStopping()) {
    if (m_isWoken && m_queue.IsEmpty()) GreetWoken();
    // What is asked alone is marked when it fails: only a disk that is alive is asked for it.
    if (alone && NeedsProbe(alone)) Probe();
    if (IsStopping()) break;
    if (IsAwaited()) {
      GiveWay(settled);
      continue;
    }
    while (m_queue.HasRoom()) {
      const auto range = next();
      if (!range) break;
      if (!PrepareStore(*range)) break;
      if (m_queue.IsEmpty()) m_askStarted = m_clock->Seconds();
      m_queue.Push(*range, alone && m_units.IsOne(*range));
    }
    if (m_queue.IsEmpty()) return;
    TakeAnswers(settled);
    if (NeedsProof()) {
      Prove();
    } else if (NeedsProbe(alone)) {
      Probe();
    }
  }
  m_queue.Drop();
  // What is under way is still answered, and kept.
  while (!m_queue.IsEmpty()) TakeAnswers(settled);
}

void Engine::GiveWay(const Settled& settled) {
  if (const auto dropped = m_queue.Drop()) {
    // Not asked: as where the system failed, it comes next again.
    Asked again;
    again.range = *dropped;
    again.outcome.kind = FailureKind::kSystem;
    again.wentBadly = true;
    settled(again);
  }
  while (!m_queue.IsEmpty()) TakeAnswers(settled);
  const Phase phase = m_progress.phase;
  const bool judged = m_queue.JudgesSlowness();
  m_isServing = true;
  m_options.serve();
  m_isServing = false;
  m_queue.JudgeSlowness(judged);
  m_progress.phase = phase;
  SyncWhenDue();
}

bool Engine::TakeAnswers(const Settled& settled) {
  const std::span<const Asked> answers = m_queue.Wait(kTickSeconds, AskQueue::kSlots);
  if (answers.empty()) {
    m_progress.isWaiting = m_clock->Seconds() - m_askStarted > kHangSeconds;
    if (*m_stop) StopWhileWaiting();
  } else {
    m_progress.isWaiting = false;
    m_askStarted = m_clock->Seconds();
    if (StoreAnswers(answers)) {
      for (const Asked& asked : answers) {
        Settle(asked);
        settled(asked);
      }
    }
    m_queue.Pop(answers.size());
  }
  SyncWhenDue();
  Tell();
  return !answers.empty();
}

// Neighbours are stored at once.
bool Engine::StoreAnswers(std::span<const Asked> answers) {
  for (size_t i = 0; i < answers.size();) {
    const Asked& first = answers[i];
    SectorRange run{first.range.first, first.outcome.delivered};
    for (++i; i < answers.size() && run.End() == answers[i].range.first &&
              answers[i - 1].outcome.delivered == AskedSource::kMaxAskSectors;
         ++i) {
      run.count += answers[i].outcome.delivered;
    }
    if (run.count > 0 && !m_keeper.Store(run, first.data, m_isRetrying)) return StopForStore();
  }
  return true;
}

void Engine::CountAsked(SectorRange range) {
  // What this run asked together with others, and now alone, counts once.
  const bool isSecond =
      m_ledger.failed.Contains(range.first) || m_ledger.trimmed.Contains(range.first);
  if (!isSecond || m_triedEarlier.Contains(range.first)) m_progress.asked += range.count;
}

void Engine::Settle(const Asked& asked) {
  CountAsked(asked.range);
  m_timeLeft.Learn(asked.range.count, asked.seconds, m_units.IsOne(asked.range));
  m_progress.position = asked.range.first;
  const SectorRange got{asked.range.first, asked.outcome.delivered};
  const bool isMedium = asked.outcome.kind == FailureKind::kMedium;
  if (got.count > 0 || isMedium) m_silence.End(isMedium);
  if (got.count > 0) {
    m_ledger.Stored(got);
    m_witnesses.NoteRead(got);
    const bool isPlanned = m_planned.Contains(got.first);
    for (StatusCounts* totals : {&m_progress.all, isPlanned ? &m_progress.domain : nullptr}) {
      if (!totals) continue;
      totals->present += got.count;
      (m_isRetrying ? totals->unreadable : totals->missing) -= got.count;
    }
    AliveNow();
  }
  if (asked.outcome.kind != FailureKind::kNone) SettleFailure(asked);
}

void Engine::LogFailure(const Asked& asked) {
  const AskOutcome& outcome = asked.outcome;
  LogEvent event("failed");
  event.Add(asked.range).Add("alone", asked.alone);
  event.Add("kind", FailureKindName(outcome.kind)).Add("code", u64{outcome.code});
  if (outcome.sense != 0) {
    // As the drives' manuals and the kernel's messages have it: key/code/qualifier.
    char sense[12];
    std::snprintf(sense, sizeof sense, "%x/%02x/%02x", outcome.sense >> 16 & 0xFF,
                  outcome.sense >> 8 & 0xFF, outcome.sense & 0xFF);
    event.Add("sense", sense);
  }
  event.Add("ms", u64(asked.seconds * 1000));
  m_log->Write(event);
}

void Engine::SettleFailure(const Asked& asked) {
  const AskOutcome& outcome = asked.outcome;
  LogFailure(asked);
  ++m_failures;
  FailedNow(asked);
  const SectorRange rest{asked.range.first + outcome.delivered,
                         asked.range.count - outcome.delivered};
  switch (outcome.kind) {
    case FailureKind::kGone:
      return EndOrWake(StopReason::kGone, outcome.code);
    case FailureKind::kSystem:
      if (++m_systemFailures > kMostSystemFailures) {
        return StopWith(StopReason::kSystemFailed, outcome.code);
      }
      m_clock->Sleep(kSystemPause * m_systemFailures);
      return;
    case FailureKind::kTransport:
      if (!asked.alone) SettleSlip(rest);
      return;
    default:
      break;
  }
  if (m_isRetrying) {
    // It is marked already.
  } else if (!asked.alone && m_ledger.failed.Contains(rest.first)) {
    m_ledger.Spend(rest);
  } else {
    m_ledger.Refused(rest, asked.alone);
    const bool isNamed = outcome.firstBad > rest.first && outcome.firstBad < rest.End();
    if (isNamed && m_named.size() < kMostNamed) {
      const std::pair named{rest.first, outcome.firstBad};
      m_named.insert(std::upper_bound(m_named.begin(), m_named.end(), named), named);
    }
  }
  if (outcome.kind == FailureKind::kMedium) AliveNow();
}

// No refusal. But what comes to nothing twice while the disk answers before is slow or bad there
// itself: its sectors are asked alone then, as those of what was refused.
void Engine::SettleSlip(SectorRange range) {
  if (m_failuresInRow > 1) return;
  if (m_slipped.Contains(range.first)) m_ledger.Slipped(range);
  m_slipped.Add(range);
}

bool Engine::PrepareStore(SectorRange range) {
  return m_keeper.Prepare(range, m_ledger.untried) || StopForStore();
}

void Engine::SyncWhenDue() {
  if (m_keeper.IsSyncDue()) Sync();
}

void Engine::Sync() {
  if (m_keeper.Sync(m_progress.all)) return;
  StopWith(StopReason::kStoreFailed, platform::LastFailure());
}

double Engine::SecondsLeft() const {
  // What is fetched on demand grows with each demand.
  if (m_progress.phase == Phase::kFetch) return -1;
  const double allowed = m_options.maxBytesPerSecond == 0
                             ? 0
                             : kSectorBytes / static_cast<double>(m_options.maxBytesPerSecond);
  const u64 together = m_ledger.untried.Sectors() + m_ledger.witnesses.Sectors();
  u64 alone = m_retryLeft;
  if (m_options.scrape) alone += m_ledger.failed.Sectors() + m_ledger.trimmed.Sectors();
  // One sector is stored while the next is read.
  return m_timeLeft.Seconds(together, static_cast<double>(alone) / m_units.unit,
                            std::max(m_keeper.SecondsPerSector(), allowed));
}

void Engine::Tell() {
  if (!m_monitor) return;
  m_progress.secondsSinceSuccess = m_clock->Seconds() - m_lastSuccess;
  m_progress.secondsLeft = SecondsLeft();
  m_monitor(m_progress);
}

}  // namespace larkspur
