// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Proof of life: whether a disk that refuses is bad there, or has fallen silent.

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/system_error.h"
#include "rescue/engine.h"

namespace larkspur {
namespace {

constexpr double kTickSeconds = 0.2;
constexpr double kMostUnclearSeconds = 120;
constexpr u32 kMostWakings = 3;
constexpr u64 kFailuresPerKnownGood = 64;
constexpr u64 kKnownGoodKept = 4;  // for long rows of failures, and for the end
constexpr u32 kMostAllOver = 64;
constexpr double kPatientSeconds = 10;
constexpr double kFirstPatientPause = 0.25;
// So that the failures that a silent disk is allowed are spread over ten seconds.
constexpr double kSilentPause = 0.15;
constexpr size_t kWitnessesKept = 4;
// A disk that was silent once, and answered this often right after a refusal, is believed two in a
// row, and so on.
constexpr u32 kConfirmedPerStep = 8;
constexpr u32 kMostSteps = 6;
// Refusals in a row after which a witness is asked, on a disk that answered each time so far.
constexpr u32 kMostUnprobed = 4;

}  // namespace

// A request hangs, and the run is to stop. A second interrupt ends it without a word.
void Engine::StopWhileWaiting() {
  m_queue.Drop();
  if (m_progress.isWaiting) m_silence.ExpectKill();
}

void Engine::AliveNow() {
  m_failuresInRow = 0;
  m_systemFailures = 0;
  m_wakings = 0;
  m_lastSuccess = m_clock->Seconds();
  if (m_isDoubted || !m_ledger.HasUnproved()) return;
  const u64 planned = m_ledger.refused.Intersection(m_planned).Sectors();
  m_keeper.NoteChange();
  const auto [marked, isAll] = m_ledger.Prove();
  if (!isAll) StopForStore();
  m_progress.all.unreadable += marked;
  m_progress.all.missing -= marked;
  m_progress.domain.unreadable += std::min(marked, planned);
  m_progress.domain.missing -= std::min(marked, planned);
}

void Engine::FailedNow(const Asked& asked) {
  if (m_failuresInRow++ == 0) m_firstFailure = m_clock->Seconds() - asked.seconds;
}

bool Engine::NeedsProof() {
  if (m_failuresInRow == 0 || IsStopping() || !m_queue.IsEmpty()) return false;
  return m_failuresInRow >= m_options.maxFailures || RowSeconds() >= kMostUnclearSeconds;
}

// After how many failures in a row a witness is asked. What was asked alone would be marked: so at
// first, until it is known what this disk does, each failure is followed by one, as those on a disk
// that was silent before always are. Later there may be too few of them for that.
u32 Engine::ProbeAfter(bool alone) const {
  if (!alone && m_ledger.refused.IsEmpty()) return kMostUnprobed;  // nothing would be marked
  // Of those amid good ones, hardly any is bad.
  if (m_ledger.LastWasWitness()) return 1;
  if (!m_silence.WasOn()) return m_witnesses.FailuresForEach();
  const u32 confirmed = m_silence.Confirmed() / kConfirmedPerStep;
  return 1u << std::min(confirmed, kMostSteps);
}

bool Engine::NeedsProbe(bool alone) {
  return m_failuresInRow >= ProbeAfter(alone) && m_systemFailures == 0 && !m_silence.IsOn() &&
         !m_isRetrying && !IsStopping() && m_queue.IsEmpty();
}

// A disk may hang for a while and come back by itself. So proof is asked for early in a row of
// failures; when there is none, nothing counts until the disk answers again.
void Engine::Probe() {
  u32 before = 0;
  Proof proof;
  do {  // what proved it may have been followed by a witness that is bad
    before = m_failuresInRow;
    proof = AskForProof(true);
  } while (proof == Proof::kAlive && m_failuresInRow > 0 && !IsStopping());
  if (proof == Proof::kAlive) m_silence.Confirm();
  const bool isSilent = proof == Proof::kNone && m_systemFailures == 0;
  if (!isSilent || IsStopping() || m_failuresInRow < before) return;
  FallSilent(false);
}

// It is asked for witnesses only, as long as there are enough for what follows: what is wanted is
// not to be asked for in vain.
void Engine::FallSilent(bool isOld) {
  m_silence.Begin(isOld);
  while (m_silence.IsOn() && m_failuresInRow > 0 && !NeedsProof() && !IsStopping() &&
         m_witnesses.Fresh() > kWitnessesKept) {
    m_clock->Sleep(kSilentPause);
    Tell();
    ProveBy({*m_witnesses.Pick(m_progress.position), false});
  }
}

// Sectors that are known to be good are asked again for every refusal only where the disk was
// silent and came back: there, no other way tells what is bad.
bool Engine::MayAskKnownGood() const {
  const u64 picked = m_witnesses.KnownGoodPicked() + kKnownGoodKept;
  // A few are kept for long rows of refusals, but for the first one after a silence.
  const u64 ample = m_silence.Confirmed() == 0 ? 0 : picked * m_units.unit;
  if (m_silence.WasOn()) return m_progress.all.present > ample;
  return m_progress.all.present > 0 && picked * kFailuresPerKnownGood <= m_failures;
}

// A disk that was silent shows that it lives before it is asked for what may have silenced it.
void Engine::GreetWoken() {
  m_isWoken = false;
  const bool isOld = m_ledger.Recent() == 0;
  const auto witness = PickProof(m_progress.position, false, !m_silence.WasOn());
  if (!witness) return;
  if (ProveBy(*witness) == FailureKind::kNone) {
    m_silence.Confirm();
  } else if (!IsStopping()) {
    FallSilent(isOld);
  }
}

bool Engine::IsRowLong() const {
  return m_failuresInRow >= m_options.maxFailures || RowSeconds() >= kPatientSeconds;
}

// Asks a witness, then another elsewhere. After few failures it does so for a while: the disk may
// only hang. False when the disk proved to be dead.
bool Engine::Prove() {
  double pause = kFirstPatientPause;
  for (Proof proof; (proof = AskForProof(false)) != Proof::kAlive;) {
    if (IsStopping()) return false;
    if (proof == Proof::kNone && m_systemFailures == 0 && !m_isRetrying) m_silence.Begin(false);
    if (IsRowLong()) {
      EndOrWake(StopReason::kNotAnswering, 0);
      return false;
    }
    m_clock->Sleep(pause);
    pause *= 2;
    Tell();
  }
  return true;
}

// What answered in place of the first witness: another one or, where nothing tells what should read
// well, a sector anywhere.
std::optional<SectorRange> Engine::ProveElsewhere(SectorRange first, bool isEarly) {
  const auto second = PickProof(first.first, true, isEarly);
  if (!second) return std::nullopt;
  if (ProveBy(*second) == FailureKind::kNone) return second->range;
  const bool mayBeBad = second->isAny || m_progress.all.present == 0;
  if (!mayBeBad || isEarly || m_isRetrying || !IsRowLong()) return std::nullopt;
  return AskAllOver();
}

// A disk that has given nothing, or nearly nothing, may be bad nearly everywhere, so it is asked
// for sectors all over, in each run for others, until one comes.
std::optional<SectorRange> Engine::AskAllOver() {
  constexpr double kGoldenRatio = 0.6180339887;  // its multiples, less the whole, lie evenly apart
  const u32 most = std::min(m_options.maxFailures, kMostAllOver);
  m_silence.ExpectKill();  // dead disks take long to say so
  for (u32 asked = 0; asked < most && RowSeconds() < kMostUnclearSeconds; ++asked) {
    const double place = (m_earlierRuns * kMostAllOver + asked) * kGoldenRatio;
    const auto sector = m_ledger.LeftAt(place - std::floor(place));
    if (!sector || IsStopping()) return std::nullopt;
    const SectorRange unit = m_units.Around(*sector);
    if (ProveBy({unit, false}) == FailureKind::kNone) return unit;
  }
  return std::nullopt;
}

// Asks a witness, then another elsewhere. Where only the second answers, the first may be bad, or
// the disk was silent until then: so the first is asked again before anything is marked.
Engine::Proof Engine::AskForProof(bool isEarly) {
  const auto first = PickProof(m_progress.position, false, isEarly);
  if (!first) return Proof::kNothingToAsk;
  const FailureKind how = ProveBy(*first);
  if (how == FailureKind::kNone) return Proof::kAlive;
  // What was read before is not bad.
  if (IsStopping() || first->isKnownGood) return Proof::kNone;
  m_isDoubted = how == FailureKind::kUnclear && !m_silence.IsOn();
  const auto second = ProveElsewhere(first->range, isEarly);
  if (std::exchange(m_isDoubted, false) && second && !IsStopping()) {
    m_silence.Suspect();
    const bool isSame = second->first == first->range.first;  // there was no other
    const bool wasSilent = isSame || ProveBy(*first) == FailureKind::kNone;
    m_silence.Acquit();
    if (wasSilent) m_silence.NoteWasOn();
    AliveNow();
    if (!wasSilent) {  // it is bad, and has perhaps silenced the disk once more
      m_failuresInRow = 1;
      m_firstFailure = m_clock->Seconds();
    }
  }
  return second ? Proof::kAlive : Proof::kNone;
}

// `isElsewhere`: one was asked in vain, and all around it may be bad. `isEarly`: sparingly.
std::optional<Engine::Witness> Engine::PickProof(u64 farFrom, bool isElsewhere, bool isEarly) {
  if (const auto witness = m_witnesses.Pick(farFrom)) return Witness{*witness, false};
  if (!isEarly || MayAskKnownGood()) {
    if (const auto known = m_witnesses.PickKnownGood()) return Witness{*known, true};
  }
  // Who retries has not asked for sectors that are missing.
  if (m_isRetrying) return std::nullopt;
  // All that is wanted may be bad, so the second comes from where nothing is.
  const auto untried = isEarly ? std::nullopt : m_witnesses.PickUntried(!isElsewhere);
  const auto unwanted = isElsewhere || !untried ? m_witnesses.PickMissing() : std::nullopt;
  const auto other = unwanted ? unwanted : untried;
  if (!other) return std::nullopt;
  return Witness{*other, false, true};
}

// kNone: the disk is alive.
FailureKind Engine::ProveBy(const Witness& asking) {
  const auto [witness, isKnownGood, isAny] = asking;
  if (isKnownGood) m_log->Write(LogEvent("witness").Add(witness));
  if (!isKnownGood && !PrepareStore(witness)) return FailureKind::kSystem;
  m_queue.JudgeSlowness(false);
  m_queue.Push(witness, true);
  std::span<const Asked> answers;
  while ((answers = m_queue.Wait(kTickSeconds, 1)).empty()) Tell();
  const Asked& asked = answers.front();
  const FailureKind kind = asked.outcome.kind;
  const bool isAlive = asked.outcome.delivered > 0 || kind == FailureKind::kMedium;
  if (isKnownGood) {
    m_progress.asked += witness.count;
    if (isAlive) {
      m_silence.End(kind == FailureKind::kMedium);
      AliveNow();
    } else {
      FailedNow(asked);
    }
    if (kind == FailureKind::kGone) EndOrWake(StopReason::kGone, asked.outcome.code);
  } else if (StoreAnswers(answers)) {
    Settle(asked);
  }
  m_queue.Pop(1);
  if (!isAlive) m_witnesses.AskedInVain(witness);
  return isAlive ? FailureKind::kNone : kind;
}

void Engine::EndOrWake(StopReason reason, u32 systemError) {
  // A device that vanished was alive until then; one that does not answer was not.
  const bool wasSilent = m_silence.IsOn() || reason == StopReason::kNotAnswering;
  if (wasSilent) m_silence.ExpectKill();  // waking it may take long
  const TakenBack unproved = wasSilent ? m_silence.TakeBack() : TakenBack();
  if (m_options.onSilent && m_wakings++ < kMostWakings && m_options.onSilent(reason)) {
    m_failuresInRow = 0;
    m_isWoken = true;
    m_silence.NoteWasOn();
    m_silence.Log(unproved);
    return;
  }
  m_unprovedAtEnd = unproved;
  StopWith(reason, systemError);
}

}  // namespace larkspur
