// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Whether the disk is silent: for a while, or for good, it refuses whatever it is asked for, good
// sectors as well. What it refuses then does not count, nor does what it refused since its last
// sign of life, but for what began the silence.

#include "rescue/ledger.h"

namespace larkspur {

// Refusals that do not count.
struct TakenBack {
  size_t count = 0;
  bool began = false;  // the first of them may have begun the silence, for the first time

  // As the log has them.
  LogEvent& AddTo(LogEvent&& event) const {
    return event.Add("count", u64{count}).Add("began", began);
  }
};

class Silence {
 public:
  // Neither is owned; both outlive this.
  Silence(Ledger* ledger, RescueLog* log) : m_ledger(ledger), m_log(log) {}
  // What the log tells of earlier runs: what has begun a silence when it was asked alone, and
  // whether the disk came back from one by itself.
  void Resume(ExtentSet began, bool cameBack) {
    m_began = std::move(began);
    m_wasOn = cameBack;
  }

  bool IsOn() const { return m_isOn; }
  // In this run, or in an earlier one that went on afterwards.
  bool WasOn() const { return m_wasOn; }
  void NoteWasOn() {
    m_wasOn = true;
    m_confirmed = 0;
  }
  // Something was refused, and the disk answered right after it: it was not silent. Confirmed: how
  // often that was so since the last silence.
  void Confirm() { ++m_confirmed; }
  u32 Confirmed() const { return m_confirmed; }
  // How many sectors are known to have begun one. Such a sector is marked when it does so again.
  u64 Causes() const { return m_began.Sectors(); }

  // Tells the log at once, as people kill what hangs. `isOld`: the disk was silent before anything
  // was refused.
  void Begin(bool isOld);
  // The disk answers, with data or by reporting a bad sector.
  void End(bool reportsBadSector);
  // It may be silent: if it answers next, it was. Acquit: it did not, and another sector did.
  void Suspect() { m_isOn = true; }
  void Acquit() { m_isOn = false; }

  // Takes back what does not count, and ends the silence.
  TakenBack TakeBack();
  void Log(const TakenBack& refusals);
  // A request hangs or the disk is silent, and the program may be killed: the log is to know by
  // then what does not count.
  void ExpectKill();

 private:
  bool IsCaused() const { return !m_isUncaused && m_ledger->FirstRecentAlone().has_value(); }

  Ledger* m_ledger;
  RescueLog* m_log;
  bool m_isOn = false;
  bool m_wasOn = false;
  u32 m_confirmed = 0;
  bool m_isUncaused = false;          // nothing that is not proved has begun it
  bool m_hasReportedBadLast = false;  // the last sign of life was that
  bool m_expectsKill = false;         // and the log was told
  ExtentSet m_began;                  // asking for these alone did
};

}  // namespace larkspur
