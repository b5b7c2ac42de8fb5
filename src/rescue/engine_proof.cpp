// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Proof of life: whether a disk that refuses is bad there, or has fallen silent.

#include <algorithm>

#include "platform/system_error.h"
#include "rescue/engine.h"

namespace larkspur {
namespace {

constexpr double kTickSeconds = 0.2;
constexpr double kMostUnclearSeconds = 120;
constexpr u32 kMostWakings = 3;
constexpr u64 kFailuresPerKnownGood = 64;  // one is kept for the end
constexpr double kPatientSeconds = 10;
constexpr double kPatientPause = 0.5;
// Refusals in a row after which a witness is asked, on a disk that answered each time so far.
constexpr u32 kMostUnprobed = 4;

}  // namespace

// A request hangs, and the run is to stop. A second interrupt ends it without a word, so the log
// must know by then what is not to count.
void Engine::StopWhileWaiting() {
  m_queue.Drop();
  if (!m_progress.isWaiting || m_ledger.Recent() == m_unprovedTold) return;
  m_unprovedTold = m_ledger.Recent();
  m_log->Write(LogEvent("unproved").Add("count", u64{m_unprovedTold}).Add("untilEnd", true));
  m_log->Sync();
}

// What failed since the disk was last known to be alive was not refused, but for what began the
// silence: a piece, which nothing marks, and what has begun one alone before. Answers how many
// refusals are taken back.
size_t Engine::TakeBackSilence() {
  m_isSilent = false;
  const auto first = m_ledger.FirstRecent();
  if (!first) return 0;
  const bool isCause = !IsAlone(*first) || m_beganSilence.Contains(first->first);
  if (!isCause) m_beganSilence.Add(*first);
  return m_ledger.TakeBack(isCause ? 1 : 0);
}

// The disk answers: was it silent before?
void Engine::EndSilence() {
  if (!m_isSilent) return;
  if (const size_t count = TakeBackSilence()) {
    m_log->Write(LogEvent("unproved").Add("count", u64{count}));
  }
}

void Engine::AliveNow() {
  m_failuresInRow = 0;
  m_systemFailures = 0;
  m_wakings = 0;
  m_lastSuccess = m_clock->Seconds();
  if (!m_ledger.HasUnproved()) return;
  u64 marked = 0;
  const u64 planned = m_ledger.refused.Intersection(m_planned).Sectors();
  m_isDirty = true;
  if (!m_ledger.Prove(&marked)) StopForStore();
  m_progress.all.unreadable += marked;
  m_progress.all.missing -= marked;
  m_progress.domain.unreadable += std::min(marked, planned);
  m_progress.domain.missing -= std::min(marked, planned);
}

bool Engine::NeedsProof() {
  if (m_failuresInRow == 0 || IsStopping() || !m_queue.IsEmpty()) return false;
  return m_failuresInRow >= m_options.maxFailures ||
         m_clock->Seconds() - m_firstFailure >= kMostUnclearSeconds;
}

// After how many failures in a row a witness is asked. What was asked alone would be marked, so as
// long as there are many witnesses the next request but one is to be one that comes, and the very
// next where the disk was silent before.
u32 Engine::ProbeAfter() const {
  if (m_ledger.refused.IsEmpty()) return kMostUnprobed;  // nothing would be marked
  if (m_wasSilent) return 1;
  u32 failures = 2;
  for (u64 left = m_ledger.witnesses.Sectors();
       left < m_witnessesAside / 2 && failures < kMostUnprobed; left = 2 * left + 1) {
    failures *= 2;
  }
  return failures;
}

bool Engine::NeedsProbe() {
  return m_failuresInRow >= ProbeAfter() && !m_isSilent && !m_isRetrying && !IsStopping() &&
         m_queue.IsEmpty();
}

// A disk may hang for a while and come back by itself. So a witness is asked early in a row of
// failures; when another fails, too, nothing counts until the disk answers again.
void Engine::Probe() {
  for (int tries = 0; tries < 2; ++tries) {
    auto witness = PickWitness(m_progress.position);
    const bool isKnownGood = !witness && MayAskKnownGood() && (witness = PickKnownGood());
    if (!witness && tries == 0) return;
    if (!witness) break;
    const u32 before = m_failuresInRow;
    if (ProveBy(*witness, isKnownGood)) return;
    if (IsStopping() || m_failuresInRow < before) return;
    if (isKnownGood) break;
  }
  m_isSilent = m_wasSilent = true;
}

// Sectors that are known to be good are asked again for every refusal only where the disk was
// silent before: there, no other way tells what is bad.
bool Engine::MayAskKnownGood() const {
  return m_progress.all.present > 0 &&
         (m_wasSilent || (m_knownGoodAsks + 2) * kFailuresPerKnownGood <= m_failures);
}

// A disk that was woken shows that it lives before it is asked for what may have silenced it.
void Engine::GreetWoken() {
  m_isWoken = false;
  auto witness = PickWitness(m_progress.position);
  const bool isKnownGood = !witness && (witness = PickKnownGood());
  if (witness) ProveBy(*witness, isKnownGood);
}

// Asks a witness, then another elsewhere. After few failures it does so for a while: the disk may
// only hang. False when the disk proved to be dead.
bool Engine::Prove() {
  const double patient = m_firstFailure + kPatientSeconds;
  while (!ProveByTwo()) {
    if (IsStopping()) return false;
    const bool isEarly = m_failuresInRow < m_options.maxFailures && m_clock->Seconds() < patient;
    if (!isEarly) {
      EndOrWake(StopReason::kNotAnswering, 0);
      return false;
    }
    m_clock->Sleep(kPatientPause);
    Tell();
  }
  return true;
}

bool Engine::ProveByTwo() {
  u64 farFrom = m_progress.position;
  for (int tries = 0; tries < 2; ++tries) {
    auto witness = PickWitness(farFrom);
    const bool isKnownGood = !witness && (witness = PickKnownGood());
    // Who retries has not asked for sectors that are missing. All that is wanted may be bad, so the
    // second comes from elsewhere.
    if (!witness && !m_isRetrying && tries > 0) witness = PickUnwanted();
    if (!witness && !m_isRetrying) witness = PickUntried(tries == 0);
    if (!witness && !m_isRetrying) witness = PickUnwanted();
    if (!witness) return false;
    if (ProveBy(*witness, isKnownGood)) return true;
    if (IsStopping()) return false;
    farFrom = witness->first;
  }
  return false;
}

bool Engine::ProveBy(SectorRange witness, bool isKnownGood) {
  if (isKnownGood) m_log->Write(LogEvent("witness").Add(witness));
  if (!isKnownGood && !PrepareStore(witness)) return false;
  m_queue.JudgeSlowness(false);
  m_queue.Push(witness);
  Asked* asked = nullptr;
  while (m_queue.Wait(kTickSeconds, 1, &asked) == 0) Tell();
  const bool isAlive = asked->outcome.delivered > 0 || asked->outcome.kind == FailureKind::kMedium;
  if (isKnownGood) {
    m_progress.asked += witness.count;
    if (isAlive) {
      EndSilence();
      AliveNow();
    }
    if (asked->outcome.kind == FailureKind::kGone) {
      EndOrWake(StopReason::kGone, asked->outcome.code);
    }
  } else if (StoreAnswers(asked, 1)) {
    Settle(*asked);
  }
  m_queue.Pop(1);
  if (!isAlive) m_witnessesInVain.Add(witness);
  return isAlive;
}

// One of those that were left out on purpose, as far away as there is; one that a silent disk did
// not give already only when there is no other. Only where the disk reads well around it: else its
// failure would say nothing.
std::optional<SectorRange> Engine::PickWitness(u64 farFrom) {
  std::optional<SectorRange> best;
  std::pair<bool, u64> merit;  // fresh, distance
  m_ledger.witnesses.Visit([&](SectorRange witness) {
    const u64 distance =
        witness.first > farFrom ? witness.first - farFrom : farFrom - witness.first;
    const std::pair here{!m_witnessesInVain.Contains(witness.first), distance};
    if (best && here <= merit) return;
    StatusTotals before;
    m_store->Count({witness.first - 1, 1}, &before);
    if (before.present == 0) return;
    best = UnitAround(witness.first);
    merit = here;
  });
  return best;
}

// A physical sector that the cache has. Never the same one twice in a run.
std::optional<SectorRange> Engine::PickKnownGood() {
  const auto picked = PickUnit(kPresent, m_knownGoodAsked);
  if (picked) m_knownGoodAsked.Add(*picked);
  ++m_knownGoodAsks;
  return picked;
}

// One that is wanted and was never asked: in the middle of what lies last, or first.
std::optional<SectorRange> Engine::PickUntried(bool last) {
  const auto area = last ? m_ledger.untried.LastBefore(kNowhere) : m_ledger.untried.NextFrom(0);
  if (!area) return std::nullopt;
  const SectorRange unit = UnitAround(area->first + area->count / 2);
  const u64 first = std::max(unit.first, area->first);
  return SectorRange{first, std::min(unit.End(), area->End()) - first};
}

// One that was never asked, and that is not wanted in this run.
std::optional<SectorRange> Engine::PickUnwanted() {
  ExtentSet known = m_planned;
  known.Add(m_triedTogether);
  known.Add(m_triedAlone);
  return PickUnit(kMissing, known);
}

// A physical sector all of which has that status and none of which is in `except`, from one of a
// few places all over the storage.
std::optional<SectorRange> Engine::PickUnit(SectorStatus wanted, const ExtentSet& except) {
  constexpr u64 kPlaces = 16;
  constexpr u64 kLookedAt = u64{1} << 24;  // sectors, at each place
  std::optional<SectorRange> found;
  for (u64 i = 0; i < kPlaces && !found; ++i) {
    const u64 from = m_sectors / kPlaces * (m_picks++ * 7 % kPlaces);
    m_store->Visit({from, std::min(kLookedAt, m_sectors - from)},
                   [&](u64 start, u64 sectors, SectorStatus status) {
                     if (status != wanted) return true;
                     ExtentSet free(SectorRange{start, sectors});
                     free.Remove(except);
                     free.Visit([&](SectorRange part) {
                       const SectorRange unit = UnitAround(part.first + m_unit - 1);
                       if (!found && unit.End() <= part.End()) found = unit;
                     });
                     return !found;
                   });
  }
  return found;
}

void Engine::EndOrWake(StopReason reason, u32 systemError) {
  // A device that vanished was alive until then; one that does not answer was not.
  const bool wasSilent = m_isSilent || reason == StopReason::kNotAnswering;
  const size_t unproved = wasSilent ? TakeBackSilence() : 0;
  if (m_options.onSilent && m_wakings++ < kMostWakings && m_options.onSilent(reason)) {
    m_failuresInRow = 0;
    m_isWoken = m_wasSilent = true;
    if (unproved > 0) m_log->Write(LogEvent("unproved").Add("count", u64{unproved}));
    return;
  }
  m_unprovedAtEnd = unproved;
  StopWith(reason, systemError);
}

}  // namespace larkspur
