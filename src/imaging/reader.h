// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading a source through its cache, for every command that does: each sector is asked once, and a
// read ends early rather than wear the source for nothing or mark what was never refused.

#include <atomic>

#include "imaging/cache.h"
#include "imaging/source.h"
#include "io/read_once_io.h"

namespace larkspur {

// Why a read ended before its end.
enum class ReadEnd {
  kNotEnded,
  kStopped,      // the user asked
  kSourceGone,   // it has become shorter, or went away
  kStoreFailed,  // the cache could not keep what was read: systemError
  kCacheFailed,  // the cache could not give what it holds
};

class cReader final : public cFetchGuard {
 public:
  // `stop` may be set by anybody at any time. Both outlive the reader.
  cReader(Cache* cache, Source* source, const std::atomic<bool>* stop);
  virtual ~cReader() = default;

  // False when the cache or the source cannot be opened a second time.
  bool IsReady() const { return m_ready; }

  // Reads [sector, sector+count) into `buffer` and answers how many sectors, from the first on, are
  // settled: in the buffer, as data or, where the source refused them, as zeros. Fewer than asked
  // means that End() is set or, under LeaveFailingRest, that the rest was left.
  u32 Read(u64 sector, void* buffer, u32 count);

  // Whether a read leaves what lies behind a piece of 64 KiB with refused sectors: not asked for,
  // not marked. Off at first.
  void LeaveFailingRest(bool leave) { m_traffic->leavesRest = leave; }

  // The storage that Read reads, for those who take a storage; End() tells of its reads as well.
  cBaseIO* Storage() { return &m_storage; }

  ReadEnd End() const { return m_end; }
  u32 SystemError() const { return m_systemError; }
  // Sectors that the source refused so far.
  u64 Refused() const { return m_refused; }

  // Called between the attempts at single sectors of a failing area, which may take seconds each.
  void OnEachRefusal(std::function<void()> call) { m_onRefusal = std::move(call); }

  bool ConfirmUnreadable(u64 sector) override;
  bool GoOnUnstored(u64 sector, u32 count) override;

 private:
  void EndWith(ReadEnd end);

  cReadOnceIO m_storage;
  std::shared_ptr<SourceTraffic> m_traffic;
  const std::atomic<bool>* m_stop;
  std::function<void()> m_onRefusal;
  bool m_ready;
  bool m_hasLeft = false;  // the rest of the last read
  ReadEnd m_end = ReadEnd::kNotEnded;
  u32 m_systemError = 0;
  u64 m_refused = 0;
};

}  // namespace larkspur
