// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Keeps what is read: makes room before it, flushes after it, and tells the log of both, so that
// after a power cut it is known what may have been lost.

#include "rescue/clock.h"
#include "rescue/extent_set.h"
#include "rescue/rescue_log.h"
#include "rescue/rescue_store.h"

namespace larkspur {

// What answers false has the system's reason in platform::LastFailure().
class StoreKeeper {
 public:
  static constexpr double kSyncSeconds = 30;

  // None is owned; all outlive this.
  StoreKeeper(RescueStore* store, RescueLog* log, RescueClock* clock)
      : m_store(store), m_log(log), m_clock(clock), m_lastSync(clock->Seconds()) {}

  // Makes room for the range, and ahead of it where reading goes on in order into `wanted`.
  bool Prepare(SectorRange range, const ExtentSet& wanted);
  // Stores what was read. `evenUnreadable` as RescueStore::Store.
  bool Store(SectorRange run, const u8* data, bool evenUnreadable);
  // Something is to be flushed that was not stored here.
  void NoteChange() { m_isDirty = true; }

  bool IsSyncDue() const { return m_isDirty && m_clock->Seconds() - m_lastSync >= kSyncSeconds; }
  // Flushes to disk what is not there yet; `counts` go to the log.
  bool Sync(const StatusCounts& counts);

  // How long a sector took, flushed to disk; 0 when none was stored.
  double SecondsPerSector() const;

 private:
  void NoteStoring(SectorRange range);

  RescueStore* m_store;
  RescueLog* m_log;
  RescueClock* m_clock;
  SectorRange m_roomMade;
  ExtentSet m_storing;  // areas that the log knows of, since the last flush
  double m_lastSync;
  bool m_isDirty = false;
  u64 m_unflushed = 0;  // sectors stored since the last flush began
  u64 m_stored = 0;     // sectors
  double m_seconds = 0;
};

}  // namespace larkspur
