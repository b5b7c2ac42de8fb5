// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/imager.h"

#include <algorithm>

#include "platform/clock.h"
#include "platform/system_error.h"

namespace larkspur {

cImager::cImager(Cache* cache, Source* source, const std::atomic<bool>* stop)
    : m_cache(cache),
      m_source(source),
      m_reader(cache, source, stop),
      m_buffer(kRequestSectors * kSectorBytes),
      m_lastSync(platform::MonotonicSeconds()) {
  m_reader.OnEachRefusal([this] {
    Tell();
    SyncWhenDue();
  });
}

void cImager::Prepare(u64 first, u64 count) {
  const u64 sectors = m_source->sectors;
  m_first = std::min(first, sectors);
  m_count = std::min(count, sectors - m_first);
  m_progress.sectors = sectors;
  if (m_cache->created) {
    m_progress.counts.missing = sectors;  // a fresh index need not be read to know it
    m_progress.left = m_count;
    return;
  }
  m_progress.counts = CountStatuses(m_cache->image.get(), 0, sectors);
  m_progress.left = m_count == sectors
                        ? m_progress.counts.missing
                        : CountStatuses(m_cache->image.get(), m_first, m_count).missing;
}

ReadEnd cImager::Run(const Monitor& monitor) {
  if (!m_reader.IsReady() || !m_buffer.Data()) return ReadEnd::kCacheFailed;
  m_monitor = monitor;
  ReadEnd end = ReadEnd::kNotEnded;
  for (const u32 leap : cLeaps::kPasses) {
    end = Pass(cLeaps(leap, m_progress.sectors));
    if (end != ReadEnd::kNotEnded || m_progress.left == 0) break;
  }
  // A read that ended early may have left holes: the cache itself knows. Asked only now, since a
  // visited object cannot be visited.
  if (m_cutCount > 0) Settle(CountStatuses(m_cache->image.get(), m_cutFirst, m_cutCount));
  Tell();
  Sync();
  return m_syncFailed && end == ReadEnd::kNotEnded ? ReadEnd::kStoreFailed : end;
}

ReadEnd cImager::Pass(const cLeaps& leaps) {
  m_leaps = leaps;
  m_reader.LeaveFailingRest(leaps.LeavesAnything());
  ReadEnd end = ReadEnd::kNotEnded;
  // The visiting object is not the one that writes: it meets each stretch as it was before this
  // pass.
  m_cache->image->VisitExtents(m_first, m_count, [&](u64 start, u64 sectors, SectorStatus status) {
    if (status == kMissing) end = Fetch(start, sectors);
    return end == ReadEnd::kNotEnded;
  });
  return end;
}

ReadEnd cImager::Fetch(u64 first, u64 count) {
  const u64 end = first + count;
  first = std::max(first, m_leaps.LeavesBefore());
  while (first < end) {
    const u64 boundary = (first / kRequestSectors + 1) * kRequestSectors;
    const u32 request = static_cast<u32>(std::min(boundary, end) - first);
    const u64 refusedBefore = m_reader.Refused();
    const double started = platform::MonotonicSeconds();
    const u32 settled = m_reader.Read(first, m_buffer.Data(), request);
    if (m_reader.End() != ReadEnd::kNotEnded) {
      m_cutFirst = first;
      m_cutCount = request;
      m_systemError = m_reader.SystemError();
      return m_reader.End();
    }
    const u64 refused = m_reader.Refused() - refusedBefore;
    Settle({settled - refused, refused, 0});
    if (!SyncWhenDue()) return ReadEnd::kStoreFailed;
    Tell();
    const bool tookLong = platform::MonotonicSeconds() - started > cLeaps::kHardSeconds;
    first = m_leaps.Next(first + settled, tookLong || settled < request || refused > 0);
  }
  return ReadEnd::kNotEnded;
}

void cImager::Settle(const StatusCounts& now) {
  m_progress.counts.present += now.present;
  m_progress.counts.unreadable += now.unreadable;
  m_progress.counts.missing -= now.present + now.unreadable;
  m_progress.left -= now.present + now.unreadable;
}

void cImager::Tell() {
  m_progress.asked = m_source->traffic->asked;
  if (m_monitor) m_monitor(m_progress);
}

bool cImager::SyncWhenDue() {
  const double now = platform::MonotonicSeconds();
  if (now - m_lastSync >= kSyncSeconds) {
    m_lastSync = now;
    Sync();
  }
  return !m_syncFailed;
}

void cImager::Sync() {
  if (m_cache->hold->Sync() || m_syncFailed) return;
  m_syncFailed = true;
  m_systemError = platform::LastFailure();
}

}  // namespace larkspur
