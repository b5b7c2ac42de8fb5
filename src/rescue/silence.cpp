// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/silence.h"

#include <utility>

namespace larkspur {

// Nor is what was refused the cause when the drive had reported a bad sector just before: that did
// it.
void Silence::Begin(bool isOld) {
  if (!m_isOn) m_isUncaused = isOld || m_ledger->Recent() == 0 || m_hasReportedBadLast;
  m_isOn = true;
  NoteWasOn();
  ExpectKill();
}

void Silence::End(bool reportsBadSector) {
  Log(m_isOn ? TakeBack() : TakenBack());
  m_hasReportedBadLast = reportsBadSector;
}

void Silence::ExpectKill() {
  if (m_expectsKill) return;
  m_expectsKill = true;
  const TakenBack refusals{m_ledger->Recent(), IsCaused()};
  m_log->Write(refusals.AddTo(LogEvent("unproved")).Add("untilEnd", true));
  m_log->Sync();
}

void Silence::Log(const TakenBack& refusals) {
  if (!m_expectsKill && refusals.count == 0) return;
  m_expectsKill = false;
  m_log->Write(refusals.AddTo(LogEvent("unproved")));
}

// What counts is a piece that began the silence, as nothing marks it, and what was asked alone and
// has begun one before.
TakenBack Silence::TakeBack() {
  m_isOn = false;
  if (std::exchange(m_isUncaused, false)) return {m_ledger->TakeBack(0), false};
  const auto first = m_ledger->FirstRecentAlone();
  const bool isCause = !first || m_began.Contains(first->first);
  if (!isCause) m_began.Add(*first);
  return {m_ledger->TakeBack(isCause ? 1 : 0), !isCause};
}

}  // namespace larkspur
