// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/ask_queue.h"

#include <chrono>
#include <system_error>

namespace larkspur {
namespace {

constexpr u32 kSlotBytes = AskedSource::kMaxAskSectors * kSectorBytes;

}  // namespace

AskQueue::AskQueue(AskedSource* source, RescueClock* clock, const std::atomic<bool>* stop,
                   bool inThread)
    : m_source(source), m_clock(clock), m_stop(stop), m_pages(kSlots * kSlotBytes) {
  for (u32 i = 0; i < kSlots && m_pages.Data(); ++i)
    m_slots[i].data = m_pages.Data() + i * kSlotBytes;
  if (!inThread || !IsReady()) return;
  try {
    m_thread = std::thread([this] { Work(); });
  } catch (const std::system_error&) {
    // The system has none to give: it is asked on the caller's thread.
  }
}

AskQueue::~AskQueue() {
  {
    const std::lock_guard lock(m_mutex);
    m_ends = true;
  }
  m_changed.notify_all();
  if (m_thread.joinable()) m_thread.join();
}

void AskQueue::JudgeSlowness(bool judge) {
  const std::lock_guard lock(m_mutex);
  m_judgesSlowness = judge;
  m_slow.Reset();
}

bool AskQueue::HasRoom() const {
  const std::lock_guard lock(m_mutex);
  return !m_isHeld && m_end - m_first < kSlots;
}

bool AskQueue::IsEmpty() const {
  const std::lock_guard lock(m_mutex);
  return m_end == m_first;
}

void AskQueue::Push(SectorRange range, bool alone) {
  {
    const std::lock_guard lock(m_mutex);
    if (m_isHeld) return;
    Asked& slot = Slot(m_end++);
    slot.range = range;
    slot.alone = alone;
    slot.outcome = {};
    slot.wentBadly = false;
  }
  m_changed.notify_all();
}

std::span<const Asked> AskQueue::Wait(double seconds, size_t most) {
  std::unique_lock lock(m_mutex);
  if (!m_thread.joinable()) {
    if (m_answered == m_first && m_end > m_answered) AskNext(lock);
  } else {
    m_changed.wait_for(lock, std::chrono::duration<double>(seconds),
                       [this] { return m_answered > m_first || m_end == m_first; });
  }
  const u64 untilWrap = kSlots - m_first % kSlots;
  return {&Slot(m_first), std::min<size_t>({m_answered - m_first, untilWrap, most})};
}

void AskQueue::Pop(size_t count) {
  {
    const std::lock_guard lock(m_mutex);
    for (size_t i = 0; i < count; ++i) {
      if (Slot(m_first++).wentBadly) m_isHeld = false;
    }
  }
  m_changed.notify_all();
}

std::optional<SectorRange> AskQueue::Drop() {
  const std::lock_guard lock(m_mutex);
  const u64 end = m_answered + (m_isAsking ? 1 : 0);
  if (m_end <= end) return std::nullopt;
  m_end = end;
  return Slot(end).range;
}

void AskQueue::Work() {
  std::unique_lock lock(m_mutex);
  while (!m_ends) {
    if (m_answered < m_end && !m_isHeld) {
      AskNext(lock);
      m_changed.notify_all();
    } else {
      m_changed.wait(lock);
    }
  }
}

void AskQueue::AskNext(std::unique_lock<std::mutex>& lock) {
  Asked& slot = Slot(m_answered);
  m_isAsking = true;
  lock.unlock();
  const u32 count = static_cast<u32>(slot.range.count);
  KeepToRate(count);
  const double started = m_clock->Seconds();
  slot.outcome = m_source->Ask(slot.range.first, slot.data, count);
  slot.seconds = m_clock->Seconds() - started;
  lock.lock();
  m_isAsking = false;
  const bool failed = slot.outcome.kind != FailureKind::kNone;
  slot.wentBadly = failed || (m_judgesSlowness && m_slow.Add(slot.seconds, count));
  ++m_answered;
  if (!slot.wentBadly) return;
  m_isHeld = true;
  m_end = m_answered;
}

void AskQueue::KeepToRate(u32 sectors) {
  if (m_bytesPerSecond == 0) return;
  constexpr double kLongestSleep = 0.1;  // so that a wish to stop is heard
  double now = m_clock->Seconds();
  for (; now < m_mayAskAt && !*m_stop; now = m_clock->Seconds()) {
    m_clock->Sleep(std::min(m_mayAskAt - now, kLongestSleep));
  }
  m_mayAskAt = std::max(now, m_mayAskAt) +
               static_cast<double>(sectors) * kSectorBytes / static_cast<double>(m_bytesPerSecond);
}

}  // namespace larkspur
