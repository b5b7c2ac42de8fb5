// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading a whole storage on a thread of its own, through a clone of it, so that pages which
// show the storage meanwhile are not in the way. Knows the storage by its operations only, and
// reads it in the engine's order: what reads well first. A read-once storage reads single sectors
// where a request fails, and marks them itself; that cannot be put off from here.

#include <atomic>
#include <functional>
#include <string>

#include "base/job.h"
#include "base/owned.h"
#include "host/model/storages.h"
#include "rescue/engine.h"

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

// How far it is; written by the job's thread, read by any.
struct ReadingState {
  std::atomic<u64> unreadable{0};  // sectors: of the storage where there is a map, else of this run
  std::atomic<ReadingEnd> end{ReadingEnd::kNone};
};

class cReadEverythingJob final : public cJob {
 public:
  // `report` gets the share of this run's work that is done, on the job's thread; it may be empty.
  // `clock` outlives the job; null: the system's.
  explicit cReadEverythingJob(std::function<void(double share)> report,
                              RescueClock* clock = nullptr)
      : cJob(nullptr), m_report(std::move(report)), m_clock(clock ? clock : &m_systemClock) {}
  ~cReadEverythingJob() { Stop(kPatienceMilliseconds); }

  // Takes clones of `storage`, its source and its map; false when the storage cannot be cloned.
  // REQUIRES: not running
  bool Prepare(const Storage& storage);
  // Gives the clones back. REQUIRES: not running
  void Release();

  const ReadingState& State() const { return m_state; }
  // The storage that is being read, to be compared only; null after Release.
  const cBaseIO* Original() const { return m_original; }

  u32 Run() override;
  void OnAborted() override { m_state.end = ReadingEnd::kAborted; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  class StorageSource;
  class StorageStore;

  ReadingEnd ReadAll();
  void Tell(const RescueProgress& progress);

  std::function<void(double)> m_report;
  RescueClock m_systemClock;
  RescueClock* m_clock;
  const cBaseIO* m_original = nullptr;
  Owned<cBaseIO> m_io;
  Owned<cKVRSparseIO> m_map;  // null: there is none
  Watched m_source;
  bool m_isReadOnce = false;
  bool m_cacheFailed = false;  // a read-once storage did not deliver what it has
  u64 m_sectors = 0;
  u64 m_work = 0;  // sectors to be read in this run
  ReadingState m_state;
};

// What is said when the reading of a storage has ended.
std::u16string EndWords(ReadingEnd end, u64 unreadable);

}  // namespace larkspur::host
