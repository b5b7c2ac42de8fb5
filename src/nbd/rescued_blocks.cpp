// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "nbd/rescued_blocks.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "platform/clock.h"

namespace larkspur {
namespace {

// A client that has its answer asks its next question soon; an image in between would only move the
// disk's heads.
constexpr double kQuietSeconds = 0.25;
constexpr double kLookSeconds = 0.1;  // between looks at whether a client still waits
constexpr double kIdleSeconds = 1;    // between looks at whether it is time to flush
constexpr double kGoneSeconds = 1;    // before a source that was gone is looked for again
constexpr double kReturnSeconds = 5;  // the same where only an image waits for it
// A client that gets errors from a silent disk makes few requests, so it is found out earlier.
constexpr u32 kMostFailures = 16;
constexpr double kNever = std::numeric_limits<double>::infinity();

auto Seconds(double seconds) {
  return std::chrono::duration<double>(seconds);
}

}  // namespace

RescuedBlocks::RescuedBlocks(std::unique_ptr<EngineRuns> runs, Options options)
    : m_runs(std::move(runs)), m_options(std::move(options)) {}

RescuedBlocks::~RescuedBlocks() {
  if (!m_stop) End();
}

void RescuedBlocks::End() {
  if (!m_thread.joinable()) {
    if (m_engine) m_runs->End();  // never started, so this is no stop
    return;
  }
  {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
  }
  m_changed.notify_all();
  m_thread.join();
}

Engine* RescuedBlocks::Begin() {
  EngineOptions options;
  options.maxFailures = kMostFailures;
  options.isAwaited = [this] { return m_waitingCount > 0; };
  options.serve = [this] { ServeUntilQuiet(); };
  m_engine = m_runs->Begin(std::move(options), &m_stop);
  return m_engine;
}

void RescuedBlocks::Start(std::unique_ptr<BlockSource> cached, SectorRange fill) {
  m_cached = std::move(cached);
  m_fill = fill;
  m_hasEngine = m_engine != nullptr;
  // Counting what a large cache has takes a while: not while a client waits.
  if (m_engine) m_engine->Want(ExtentSet(fill));
  m_thread = std::thread([this] { Work(); });
}

bool RescuedBlocks::Fetch(u64 first, u32 count, u8* out, SectorStatus* statuses) {
  if (!m_cached->Fetch(first, count, out, statuses)) return false;
  SectorRange range{first, count};
  if (!IsWorthAsking(&range, statuses) || !Await(range)) return true;
  return m_cached->Fetch(first, count, out, statuses);
}

// Narrows the range to what is missing; false when nothing is, or when it would be of no use.
bool RescuedBlocks::IsWorthAsking(SectorRange* range, const SectorStatus* statuses) const {
  const SectorStatus* const end = statuses + range->count;
  const SectorStatus* const missing = std::find(statuses, end, kMissing);
  if (missing == end) return false;
  const bool isSpoilt = std::find(statuses, end, kUnreadable) != end;
  if (isSpoilt && !m_options.wantsUnreadable) return false;
  const SectorStatus* last = end;
  while (*(last - 1) != kMissing) --last;
  *range = {range->first + static_cast<u64>(missing - statuses), static_cast<u64>(last - missing)};
  return true;
}

// Waits until the engine has done what it could for the range. False when it was not asked to.
bool RescuedBlocks::Await(SectorRange range) {
  const auto request = std::make_shared<Request>(Request{range});
  std::unique_lock lock(m_mutex);
  if (m_stop || (!m_hasEngine && platform::MonotonicSeconds() < m_tryAgainAt)) return false;
  const auto place = m_waiting.emplace(range.first, request);
  ++m_waitingCount;
  m_changed.notify_all();
  while (!m_changed.wait_for(lock, Seconds(kLookSeconds), [&] { return request->isDone; })) {
    lock.unlock();
    const bool isGone = m_options.isClientGone && m_options.isClientGone();
    lock.lock();
    if (!isGone || request->isDone) continue;
    // No one wants it any more; unless it is being asked for.
    const auto [begin, end] = m_waiting.equal_range(range.first);
    if (std::find_if(begin, end, [&](const auto& one) { return one.second == request; }) != end) {
      m_waiting.erase(place);
      --m_waitingCount;
    }
    return false;
  }
  return true;
}

void RescuedBlocks::ClientCame() {
  const std::lock_guard lock(m_mutex);
  m_tryAgainAt = 0;
}

void RescuedBlocks::Work() {
  while (!m_stop) {
    if (!m_engine) {
      WaitForReturn();
      if (!m_stop && Begin()) m_engine->Want(ExtentSet(m_fill));
    }
    DismissAll(m_engine ? UseEngine() : kGoneSeconds);
  }
}

// Without an engine: until somebody wants sectors, or an image may resume.
void RescuedBlocks::WaitForReturn() {
  std::unique_lock lock(m_mutex);
  while (!m_stop && !WaitForRequest(lock, kReturnSeconds)) {
    if (m_fill.count > 0 && m_tryAgainAt != kNever) return;
  }
}

// Answers how many seconds later there may be another one.
double RescuedBlocks::UseEngine() {
  {
    const std::lock_guard lock(m_mutex);
    m_hasEngine = true;
  }
  bool isFilled = m_fill.count == 0;
  const auto isUp = [this] { return !m_stop && m_engine->Reason() == StopReason::kNone; };
  while (isUp()) {
    ServeUntilQuiet();
    if (!isFilled && isUp()) {
      m_engine->Image();
      isFilled = true;
    }
    m_engine->Idle();
    std::unique_lock lock(m_mutex);
    WaitForRequest(lock, kIdleSeconds);
  }
  const StopReason reason = m_engine->Reason();
  m_runs->End();
  m_engine = nullptr;
  return reason == StopReason::kGone ? kGoneSeconds : kNever;
}

// Whether there is one, or comes within that time.
bool RescuedBlocks::WaitForRequest(std::unique_lock<std::mutex>& lock, double seconds) {
  m_changed.wait_for(lock, Seconds(seconds), [this] { return m_stop || !m_waiting.empty(); });
  return !m_waiting.empty();
}

void RescuedBlocks::ServeUntilQuiet() {
  std::unique_lock lock(m_mutex);
  while (!m_stop && m_engine->Reason() == StopReason::kNone &&
         WaitForRequest(lock, kQuietSeconds)) {
    const RequestPtr request = TakeNext();
    lock.unlock();
    m_engine->ReadMissing(request->range, !m_options.wantsUnreadable);
    lock.lock();
    request->isDone = true;
    m_changed.notify_all();
  }
}

// The next one in the disk's order, so that its heads move as little as they can.
RescuedBlocks::RequestPtr RescuedBlocks::TakeNext() {
  auto next = m_waiting.lower_bound(m_position);
  if (next == m_waiting.end()) next = m_waiting.begin();
  RequestPtr request = next->second;
  m_waiting.erase(next);
  --m_waitingCount;
  m_position = request->range.End();
  return request;
}

// Clients that wait get what is there; and so do those that come within that time.
void RescuedBlocks::DismissAll(double seconds) {
  const std::lock_guard lock(m_mutex);
  m_hasEngine = false;
  m_tryAgainAt = platform::MonotonicSeconds() + seconds;
  for (auto& [first, request] : m_waiting) request->isDone = true;
  m_waiting.clear();
  m_waitingCount = 0;
  m_changed.notify_all();
}

}  // namespace larkspur
