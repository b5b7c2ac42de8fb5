// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading a whole storage on a thread of its own, through a clone of it, so that whoever looks at
// the storage meanwhile is not in the way. Knows the storage by its operations only. Of a read-once
// storage with a map it reads what is missing, and the bad areas at the end.

#include <array>
#include <atomic>
#include <functional>
#include <string>

#include "base/job.h"
#include "base/owned.h"
#include "host/rules/storages.h"
#include "imaging/leaps.h"

namespace larkspur::host {

enum class ReadingEnd {
  kNone,         // not ended, or not begun
  kDone,         // nothing is left; some of it may be unreadable
  kStopped,      // by the user; goes on from there
  kSourceGone,   // it has become shorter or went away
  kNotKept,      // the cache does not hold what was just read: full, or gone
  kCacheFailed,  // a read-once storage does not deliver what it has
  kAborted,      // the thread had to be ended by force
};

// How far it is; written by the job's thread, read by any.
struct ReadingState {
  std::atomic<u64> next{0};        // the first sector that was not read yet; where there is no map
  std::atomic<u64> unreadable{0};  // of those read in this run; by the map, of all
  std::atomic<ReadingEnd> end{ReadingEnd::kNone};
};

class cReadEverythingJob final : public cJob {
 public:
  // The size of one request: what a source that goes away in the middle of one may cost.
  static constexpr u32 kRequestSectors = 128;

  // `report` gets the share of this run's work that is done, on the job's thread; it may be empty.
  explicit cReadEverythingJob(std::function<void(double share)> report)
      : cJob(nullptr), m_report(std::move(report)) {}
  ~cReadEverythingJob() { Stop(kPatienceMilliseconds); }

  // Takes clones of `storage`, its source and its map; false when the storage cannot be cloned.
  // Goes on at storage.readNext. REQUIRES: not running
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
  ReadingEnd ReadAll();
  ReadingEnd ReadMissing();
  ReadingEnd ReadRange(u64 first, u64 end);
  ReadingEnd ReadOne(u64 first, u32 count);
  // What came short is asked for sector by sector.
  ReadingEnd ReadSingly(u64 first, u32 count);
  ReadingEnd CheckKept(u64 first, u32 count);

  std::function<void(double)> m_report;
  const cBaseIO* m_original = nullptr;
  Owned<cBaseIO> m_io;
  Owned<cKVRSparseIO> m_map;
  Watched m_source;
  bool m_isReadOnce = false;
  // Of a read-once storage: the one is visited while the other is counted. Null: there is no map.
  Owned<cKVRSparseIO> m_visited;
  cLeaps m_leaps;
  u64 m_work = 0;  // sectors to be read in this run
  u64 m_done = 0;  // of these
  u64 m_sectors = 0;
  ReadingState m_state;
  std::array<u8, u64{kRequestSectors} * kSectorBytes> m_buffer;
};

// What is said when the reading of a storage has ended.
std::u16string EndWords(ReadingEnd end, u64 unreadable);

}  // namespace larkspur::host
