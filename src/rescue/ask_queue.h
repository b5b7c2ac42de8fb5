// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Requests to the source, in order, with the next one under way while the last one's data is being
// stored. As soon as one goes badly, those that stand after it are dropped without being asked:
// what comes next is then the engine's to decide, with all answers known.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

#include "io/sector_range.h"
#include "platform/pages.h"
#include "rescue/asked_source.h"
#include "rescue/clock.h"
#include "rescue/skip_policy.h"

namespace larkspur {

// A request and its answer.
struct Asked {
  SectorRange range;
  bool alone = false;  // what it comes to is final; else its sectors are asked for alone once more
  u8* data = nullptr;
  AskOutcome outcome;
  double seconds = 0;
  bool wentBadly = false;  // failed, or reading has become slow
};

// Used by one thread. The source is asked by a thread of the queue's own, or, with `inThread`
// false, by the one that waits for the answer.
class AskQueue {
 public:
  static constexpr u32 kSlots = 32;  // 2 MiB that a kill may cost

  AskQueue(AskedSource* source, RescueClock* clock, const std::atomic<bool>* stop, bool inThread);
  AskQueue(const AskQueue&) = delete;
  AskQueue& operator=(const AskQueue&) = delete;
  ~AskQueue();

  bool IsReady() const { return m_pages.Data() != nullptr; }

  // Whether slow requests count as gone badly. Forgets what is usual.
  void JudgeSlowness(bool judge);
  bool JudgesSlowness() const { return m_judgesSlowness; }
  // At most that many bytes a second; 0: as fast as it goes.
  void LimitRate(u64 bytesPerSecond) { m_bytesPerSecond = bytesPerSecond; }

  bool HasRoom() const;
  bool IsEmpty() const;
  // REQUIRES: HasRoom(), and a range as AskedSource::Ask wants it. Dropped when a request before it
  // has gone badly meanwhile.
  void Push(SectorRange range, bool alone);
  // Waits up to `seconds` for the oldest answer. Gives the answers that are there, `most` at most,
  // whose data lie in one piece in memory; none when none came. They stay valid until Pop.
  std::span<const Asked> Wait(double seconds, size_t most);
  void Pop(size_t count);
  // Drops what was not asked yet, and answers the first of it. An ask under way is still answered.
  std::optional<SectorRange> Drop();

 private:
  void Work();
  void AskNext(std::unique_lock<std::mutex>& lock);
  void KeepToRate(u32 sectors);
  Asked& Slot(u64 number) { return m_slots[number % kSlots]; }

  AskedSource* m_source;
  RescueClock* m_clock;
  const std::atomic<bool>* m_stop;
  platform::OwnedPages m_pages;
  Asked m_slots[kSlots];
  u64 m_bytesPerSecond = 0;
  double m_mayAskAt = 0;

  mutable std::mutex m_mutex;
  std::condition_variable m_changed;
  // Requests by number: [m_first, m_answered) are answered, [m_answered, m_end) are not.
  u64 m_first = 0;
  u64 m_answered = 0;
  u64 m_end = 0;
  bool m_isAsking = false;  // the source is being asked number m_answered
  bool m_isHeld = false;    // one has gone badly and was not popped yet
  bool m_ends = false;
  bool m_judgesSlowness = false;
  SlowRequests m_slow;
  std::thread m_thread;
};

}  // namespace larkspur
