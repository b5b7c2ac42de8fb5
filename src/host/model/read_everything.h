// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading a whole storage on a thread of its own, through a clone of it, so that pages which
// show the storage meanwhile are not in the way. Knows the storage by its operations only, and
// reads it in the engine's order: what reads well first. A read-once storage reads single sectors
// where a request fails, and marks them itself, at once: that cannot be put off from here.

#include <functional>
#include <string>

#include "base/critical_section.h"
#include "base/job.h"
#include "base/owned.h"
#include "host/model/storages.h"
#include "imaging/rescue_words.h"
#include "rescue/extent_set.h"

namespace larkspur::host {

enum class ReadingEnd {
  kNone,          // not ended, or not begun
  kDone,          // nothing is left; some of it may be unreadable
  kStopped,       // by the user; resumes from there
  kSourceGone,    // it has become shorter or went away
  kNotAnswering,  // it fails everywhere
  kNotKept,       // the cache does not hold what was just read: full, or gone
  kCacheFailed,   // a read-once storage does not deliver what it has
  kAborted,       // the thread had to be ended by force
};

// How a run ended, and what of the storage it leaves.
struct ReadingReport {
  ReadingEnd end = ReadingEnd::kNone;
  u64 unreadable = 0;  // sectors: of the storage where there is a map, else of this run
  u64 missing = 0;     // of the storage; 0 where there is no map
  std::u16string storagePath, sourcePath;  // empty when not known
};

class cReadEverythingJob final : public cJob {
 public:
  // What of the storage's sectors is settled, 0 to 1: now, and when the run began.
  using Report = std::function<void(double share, double shareAtStart)>;

  // `report` is called on the job's thread; it may be empty. `clock` outlives the job; null: the
  // system's.
  explicit cReadEverythingJob(Report report, RescueClock* clock = nullptr)
      : cJob(nullptr), m_report(std::move(report)), m_clock(clock ? clock : &m_systemClock) {}
  ~cReadEverythingJob() { Stop(kPatienceMilliseconds); }

  // Takes clones of `storage`, its source and its map; false when the storage cannot be cloned.
  // REQUIRES: not running
  bool Prepare(const Storage& storage);
  // Gives the clones back. REQUIRES: not running
  void Release();

  // REQUIRES: not running
  const ReadingReport& Ended() const { return m_ended; }
  // How far it is, beyond the share, as of now: the command line's words, and what to do while a
  // request hangs. Empty before there is anything to say. Any thread may ask.
  std::u16string Progress();
  // The storage that is being read, to be compared only; null after Release.
  const cBaseIO* Original() const { return m_original; }

  u32 Run() override;
  void OnAborted() override { m_ended.end = ReadingEnd::kAborted; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  class StorageSource;
  class StorageStore;

  ReadingEnd ReadAll();
  double Share() const;
  void Tell(const RescueProgress& progress);

  Report m_report;
  RescueClock m_systemClock;
  RescueClock* m_clock;
  const cBaseIO* m_original = nullptr;
  Owned<cBaseIO> m_io;
  Owned<cKVRSparseIO> m_map;  // null: there is none
  Watched m_source;
  bool m_isReadOnce = false;
  bool m_cacheFailed = false;  // a read-once storage did not deliver what it has
  u64 m_sectors = 0;
  ExtentSet m_left;  // what this run has yet to settle
  double m_shareAtStart = 0;
  ReadingReport m_ended;

  cCriticalSection m_section;  // guards what follows
  RescueProgress m_told;
  double m_toldAt = 0;
  SmoothRate m_rate;
  double m_sectorsPerSecond = -1;
};

// What is said while a reading works, of progress that is told after each request: the last one was
// so many seconds ago.
std::u16string ReadingWords(RescueProgress progress, double sectorsPerSecond, double secondsAgo);

// What is said when the reading of a storage has ended; the first line says what happened.
std::u16string EndWords(const ReadingReport& ended);

}  // namespace larkspur::host
