// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The order of work. How one request is asked, judged and kept is in engine_asks.cpp, and what a
// refusal proves in engine_proof.cpp.

#include "rescue/engine.h"

#include <algorithm>
#include <utility>

#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr u32 kPiece = AskedSource::kMaxAskSectors;
constexpr const char* kPhaseNames[] = {"idle", "copy",   "back",  "sweep",
                                       "trim", "scrape", "retry", "fetch"};

// How often what fails without the medium's doing is asked again in vain.
constexpr u32 kMostIdlePasses = 2;

u32 PhysicalSectors(const SourceIdentity& identity) {
  const u32 sectors = identity.physicalSectorBytes / kSectorBytes;
  const bool isUsable = sectors >= 1 && sectors <= kPiece && kPiece % sectors == 0;
  return isUsable ? sectors : 1;
}

}  // namespace

const char* PhaseName(Phase phase) {
  return kPhaseNames[static_cast<size_t>(phase)];
}

Engine::Engine(AskedSource* source, RescueStore* store, RescueLog* log, RescueClock* clock,
               const std::atomic<bool>* stop, EngineOptions options)
    : m_source(source),
      m_store(store),
      m_log(log),
      m_clock(clock),
      m_stop(stop),
      m_options(std::move(options)),
      m_queue(source, clock, stop, m_options.inThread),
      m_units{store->Sectors(), PhysicalSectors(source->Identity())},
      m_ledger(store, log),
      m_witnesses(store, &m_ledger, m_units),
      m_silence(&m_ledger, log),
      m_keeper(store, log, clock),
      m_lastSuccess(clock->Seconds()),
      m_started(m_lastSuccess) {
  m_queue.LimitRate(m_options.maxBytesPerSecond);
  m_progress.sectors = m_units.sectors;
  if (!m_queue.IsReady()) StopWith(StopReason::kSystemFailed, 0);
}

void Engine::Resume(RescueHistory* history) {
  // What an earlier run stored and did not flush to disk is to be flushed even if nothing is added.
  if (!history->storing.IsEmpty()) m_keeper.NoteChange();
  m_silence.Resume(std::move(history->beganSilence), history->cameBack);
  m_isWoken = history->wasSilent;
  m_earlierRuns = static_cast<u32>(history->runs.size());
  m_triedTogether = std::move(history->triedTogether);
  m_triedAlone = std::move(history->triedAlone);
  m_witnesses.Exclude(m_triedTogether);
  m_witnesses.Exclude(m_triedAlone);
}

bool Engine::CountAll() {
  StatusCounts& all = m_progress.all;
  if (all.present + all.unreadable + all.missing > 0) return true;
  const auto counted = m_store->Count({0, m_units.sectors});
  if (counted) all = *counted;
  return counted.has_value();
}

bool Engine::Want(const ExtentSet& domain) {
  if (!CountAll()) return StopForUnreadableCache();
  ExtentSet wanted;
  domain.Visit({0, m_units.sectors}, [&](SectorRange part) { wanted.Add(m_units.Widened(part)); });
  wanted.Remove(m_planned);
  m_planned.Add(wanted);
  m_witnesses.Exclude(wanted);
  ExtentSet missing;
  bool isReadable = true;
  wanted.Visit([&](SectorRange part) {
    isReadable =
        isReadable && m_store->Visit(part, [&](u64 start, u64 sectors, SectorStatus status) {
          if (status == kMissing) missing.Add({start, sectors});
          m_progress.domain.Add(status, sectors);
          return true;
        });
  });
  if (!isReadable) return StopForUnreadableCache();
  m_progress.domainSectors = m_planned.Sectors();
  const ExtentSet alone = missing.Intersection(m_triedAlone);
  missing.Remove(alone);
  m_ledger.refused.Add(alone);
  const ExtentSet together = missing.Intersection(m_triedTogether);
  missing.Remove(together);
  m_ledger.failed.Add(together);
  m_triedEarlier.Add(alone);
  m_triedEarlier.Add(together);
  m_ledger.untried.Add(missing);
  return true;
}

void Engine::Begin(Phase phase) {
  if (phase == m_progress.phase || IsStopping()) return;
  m_progress.phase = phase;
  if (phase != Phase::kFetch) m_log->Write(LogEvent("phase").Add("name", PhaseName(phase)));
  Tell();  // its first request may hang
}

void Engine::Image() {
  m_witnesses.SetAside(m_progress.all.present == 0);
  const bool forward = !m_options.reverse;
  const SectorRange all{0, m_units.sectors};
  Scan(Phase::kCopy, forward, Skip::kFailuresAndSlowness, all);
  Scan(Phase::kBack, !forward, Skip::kFailuresAndSlowness, all);
  // What was skipped for being slow, or lies between bad areas, comes before those areas.
  Scan(Phase::kSweep, forward, Skip::kFailures, all);
  Scan(Phase::kSweep, forward, Skip::kOnePiece, all);
  // What failed without the medium's doing is asked again, as long as that gets anywhere; and what
  // a disk refused that then had to be woken, which is done a few times without a success.
  u32 idlePasses = 0;
  bool isWoken = false;
  do {
    const u64 before = m_ledger.Left(), causes = m_silence.Causes();
    Scan(Phase::kSweep, forward, Skip::kNothing, all);
    if (m_options.scrape) {
      Trim();
      Scrape();
    }
    AskWitnesses();
    isWoken = !IsStopping() && !m_ledger.refused.IsEmpty() && !Prove();
    const bool isIdle = m_ledger.Left() >= before && m_silence.Causes() == causes;
    idlePasses = isIdle ? idlePasses + 1 : 0;
  } while (!IsStopping() && m_ledger.Left() > 0 &&
           (isWoken || idlePasses < (m_options.scrape ? kMostIdlePasses : 1)));
  // What is left failed without the medium's doing: does the disk still answer at all?
  const bool isDoubtful = m_options.scrape && m_ledger.Left() > 0 && m_failuresInRow > 0;
  if (isDoubtful && !IsStopping()) Prove();
}

void Engine::Scan(Phase phase, bool forward, Skip skip, SectorRange within) {
  if (!m_ledger.untried.NextFrom(within.first)) return;
  Begin(phase);
  m_queue.JudgeSlowness(skip == Skip::kFailuresAndSlowness);
  SkipPolicy policy = skip == Skip::kNothing    ? SkipPolicy()
                      : skip == Skip::kOnePiece ? SkipPolicy::OnePiece()
                                                : SkipPolicy(m_units.sectors);
  u64 cursor = forward ? within.first : within.End();
  const auto next = [&]() -> std::optional<SectorRange> {
    const auto part =
        forward ? m_ledger.untried.NextFrom(cursor) : m_ledger.untried.LastBefore(cursor);
    if (!part || part->first >= within.End() || part->End() <= within.first) return std::nullopt;
    const u64 boundary =
        forward ? (part->first / kPiece + 1) * kPiece : (part->End() - 1) / kPiece * kPiece;
    const u64 first = forward ? part->first : std::max({part->first, boundary, within.first});
    const u64 end = forward ? std::min({part->End(), boundary, within.End()}) : part->End();
    cursor = forward ? end : first;
    return SectorRange{first, end - first};
  };
  Stream(phase == Phase::kFetch, next, [&](const Asked& asked) {
    const SectorRange& range = asked.range;
    const bool again = asked.outcome.kind == FailureKind::kSystem;
    if (again) {
      cursor = forward ? range.first : range.End();
      return;
    }
    const u64 distance = policy.Next(asked.wentBadly, range.count);
    if (!asked.wentBadly) return;
    cursor = forward ? range.End() + distance : range.first - std::min(range.first, distance);
    // A skip that ends inside a piece would leave crumbs of it.
    if (distance > 0) cursor = (forward ? cursor + kPiece - 1 : cursor) / kPiece * kPiece;
  });
}

void Engine::Trim() {
  u64 cursor = 0;
  while (const auto area = m_ledger.failed.NextFrom(cursor)) {
    if (IsStopping()) return;
    Begin(Phase::kTrim);
    cursor = area->End();
    AskBeforeNamed(*area);
    TrimFrom(*area, true);
    TrimFrom(*area, false);
    if (IsStopping()) return;
    ExtentSet rest;
    m_ledger.failed.Visit(*area, [&](SectorRange part) { rest.Add(part); });
    m_ledger.failed.Remove(rest);
    m_ledger.trimmed.Add(rest);
  }
}

// Asks for what of `area` has failed, one by one from one end, up to the first that fails alone.
void Engine::TrimFrom(SectorRange area, bool forward) {
  u64 cursor = forward ? area.first : area.End();
  while (!IsStopping()) {
    const auto part =
        forward ? m_ledger.failed.NextFrom(cursor) : m_ledger.failed.LastBefore(cursor);
    if (!part || part->first >= area.End() || part->End() <= area.first) return;
    const u64 first = std::max(part->first, area.first);
    const u64 end = std::min(part->End(), area.End());
    cursor = forward ? end : first;
    if (!AskAlone({first, end - first}, forward)) return;
  }
}

void Engine::Scrape() {
  // Areas take turns, so that one hopeless area does not stand before all others.
  for (u64 before = 0; !IsStopping() && m_ledger.trimmed.Sectors() != before;) {
    before = m_ledger.trimmed.Sectors();
    u64 cursor = 0;
    while (const auto area = m_ledger.trimmed.NextFrom(cursor)) {
      if (IsStopping()) return;
      Begin(Phase::kScrape);
      cursor = area->End();
      AskAlone(*area, true);
    }
  }
}

void Engine::AskWitnesses() {
  u64 cursor = 0;
  while (const auto witness = m_ledger.witnesses.NextFrom(cursor)) {
    if (IsStopping()) return;
    cursor = witness->End();
    AskAlone(*witness, true);
  }
}

bool Engine::AskAlone(SectorRange area, bool forward) {
  m_queue.JudgeSlowness(false);
  u64 cursor = forward ? area.first : area.End();
  bool hasFailed = false;
  const auto next = [&]() -> std::optional<SectorRange> {
    while (!hasFailed && (forward ? cursor < area.End() : cursor > area.first)) {
      const SectorRange unit = m_units.Around(forward ? cursor : cursor - 1);
      const u64 first = std::max(unit.first, area.first);
      const u64 end = std::min(unit.End(), area.End());
      cursor = forward ? end : first;
      // Somebody else may have had it asked for meanwhile.
      if (m_isRetrying || m_ledger.IsOpen({first, end - first})) {
        return SectorRange{first, end - first};
      }
    }
    return std::nullopt;
  };
  Stream(true, next, [&](const Asked& asked) {
    if (!asked.wentBadly) return;
    hasFailed = asked.outcome.kind != FailureKind::kSystem;
    cursor = forward ? asked.range.first : asked.range.End();  // where the system failed, again
  });
  return !hasFailed;
}

// The drive has named the first bad sector of this piece: what lies before it can be had at once.
void Engine::AskBeforeNamed(SectorRange area) {
  const auto begin =
      std::lower_bound(m_named.begin(), m_named.end(), std::pair{area.first, u64{0}});
  const auto end = std::lower_bound(begin, m_named.end(), std::pair{area.End(), u64{0}});
  const std::vector<std::pair<u64, u64>> named(begin, end);
  m_named.erase(begin, end);  // asking may add others
  for (const auto& [first, bad] : named) {
    const u64 badUnit = m_units.Around(bad).first;
    const SectorRange before{first, badUnit - std::min(badUnit, first)};
    // Somebody who waited may have had part of it asked for alone.
    const auto open = m_ledger.failed.NextFrom(first);
    const bool isOpen = open && open->first == first && open->count >= before.count;
    if (before.count <= m_units.unit || !isOpen || IsStopping()) continue;
    bool isAsked = false;
    Stream(
        false,
        [&]() -> std::optional<SectorRange> {
          return std::exchange(isAsked, true) ? std::nullopt : std::optional(before);
        },
        [](const Asked&) {});
  }
}

void Engine::Retry(const ExtentSet& domain) {
  ExtentSet unreadable;
  bool isReadable = true;
  domain.Visit({0, m_units.sectors}, [&](SectorRange part) {
    isReadable =
        isReadable && m_store->Visit(part, [&](u64 start, u64 sectors, SectorStatus status) {
          if (status == kUnreadable) unreadable.Add({start, sectors});
          return true;
        });
  });
  if (!isReadable) {
    StopForUnreadableCache();
    return;
  }
  if (unreadable.IsEmpty()) return;
  Begin(Phase::kRetry);
  m_isRetrying = true;
  m_retryLeft = unreadable.Sectors();
  unreadable.Visit([&](SectorRange area) {
    if (IsStopping()) return;
    m_log->Write(LogEvent("retry").Add(area));
    for (u64 cursor = area.first; cursor < area.End() && !IsStopping();) {
      const SectorRange unit = m_units.Around(cursor);
      const u64 end = std::min(unit.End(), area.End());
      AskAlone({cursor, end - cursor}, true);
      m_retryLeft -= end - cursor;
      cursor = end;
    }
  });
  m_isRetrying = false;
  m_retryLeft = 0;
}

void Engine::ReadMissing(SectorRange range, bool untilRefused) {
  if (IsStopping() || !Want(ExtentSet(range))) return;
  const SectorRange wide = m_units.Widened(range);
  if (untilRefused && m_ledger.HasRefused(range)) return;
  Begin(Phase::kFetch);
  m_ledger.GiveUpWitnesses(wide);
  Scan(Phase::kFetch, true, Skip::kNothing, wide);
  for (u64 before = 0; !IsStopping();) {
    ExtentSet open;
    m_ledger.failed.Visit(wide, [&](SectorRange part) { open.Add(part); });
    m_ledger.trimmed.Visit(wide, [&](SectorRange part) { open.Add(part); });
    if (open.IsEmpty() || open.Sectors() == before) return;
    before = open.Sectors();
    bool isEnough = false;
    open.Visit([&](SectorRange part) {
      if (!isEnough) isEnough = !AskAlone(part, true) && untilRefused;
    });
    if (isEnough) return;
  }
}

u64 Engine::Fetch(SectorRange range, u8* out) {
  if (IsStopping()) return 0;
  ReadMissing(range, false);
  if (m_reason == StopReason::kCacheUnreadable) return 0;
  std::fill_n(out, range.count * kSectorBytes, u8{0});
  for (u64 done = 0; done < range.count;) {
    const u32 count = static_cast<u32>(std::min<u64>(range.count - done, kPiece));
    if (!m_store->Load(range.first + done, out + done * kSectorBytes, count)) {
      StopForUnreadableCache();
      return done;
    }
    done += count;
  }
  u64 settled = range.count;
  const bool isReadable = m_store->Visit(range, [&](u64 start, u64, SectorStatus status) {
    if (status == kMissing) settled = start - range.first;
    return status != kMissing;
  });
  if (isReadable) return settled;
  StopForUnreadableCache();
  return 0;
}

StopReason Engine::Finish() {
  CountAll();  // nothing may have been wanted; the log tells the storage's counts all the same
  // Those who stop a run may do so because the disk hangs.
  const bool isStopped = *m_stop && m_failuresInRow > 0 && !m_ledger.witnesses.IsEmpty();
  const bool isProofWanted =
      m_reason == StopReason::kNone && (isStopped || !m_ledger.refused.IsEmpty());
  const bool isUnproved = isProofWanted && !Prove();
  if (isUnproved && m_unprovedAtEnd.count == 0) m_unprovedAtEnd = m_silence.TakeBack();
  Sync();  // a failure is the run's reason unless it has one
  if (m_reason == StopReason::kNone) {
    m_reason = *m_stop ? StopReason::kStopped : StopReason::kDone;
  }
  static constexpr const char* kHow[] = {"done", "done",   "stopped", "gone",  "not-answering",
                                         "full", "failed", "failed",  "failed"};
  LogEvent end("end");
  end.Add("how", kHow[static_cast<size_t>(m_reason)]).Add(m_progress.all);
  end.Add("asked", m_progress.asked).Add("seconds", m_clock->Seconds() - m_started);
  if (m_unprovedAtEnd.count > 0 || m_reason == StopReason::kNotAnswering) {
    end.Add("unproved", u64{m_unprovedAtEnd.count}).Add("began", m_unprovedAtEnd.began);
  }
  m_log->Write(end);
  m_log->Sync();
  Tell();
  return m_reason;
}

}  // namespace larkspur
