// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/rules/read_everything.h"

#include <algorithm>

#include "host/rules/words.h"
#include "imaging/summary.h"
#include "platform/clock.h"

namespace larkspur::host {

bool cReadEverythingJob::Prepare(const Storage& storage) {
  Release();
  m_io.reset(storage.IO()->Clone());
  if (!m_io) return false;
  m_isReadOnce = storage.IO()->GetTypeId() == kTypeReadOnce;
  m_source = storage.source.Clone();
  if (storage.map) m_map.reset(static_cast<cKVRSparseIO*>(storage.map->Clone()));
  if (m_map && m_isReadOnce) m_visited.reset(static_cast<cKVRSparseIO*>(m_map->Clone()));
  m_original = storage.IO();
  m_sectors = storage.sectors;
  m_leaps = {};
  m_done = 0;
  m_state.next = storage.readNext;
  m_state.unreadable = 0;
  m_state.end = ReadingEnd::kNone;
  return true;
}

void cReadEverythingJob::Release() {
  m_original = nullptr;
  m_io.reset();
  m_map.reset();
  m_visited.reset();
  m_source = {};
}

u32 cReadEverythingJob::Run() {
  m_state.end = ReadAll();
  return 0;
}

ReadingEnd cReadEverythingJob::ReadAll() {
  if (m_visited) return ReadMissing();
  m_work = m_sectors - m_state.next;
  const ReadingEnd end = ReadRange(m_state.next, m_sectors);
  return end == ReadingEnd::kNone ? ReadingEnd::kDone : end;
}

ReadingEnd cReadEverythingJob::ReadMissing() {
  const StatusCounts before = CountStatuses(m_map.get(), 0, m_sectors);
  m_work = before.missing;
  m_state.unreadable = before.unreadable;
  ReadingEnd end = ReadingEnd::kNone;
  for (const u32 leap : cLeaps::kPasses) {
    m_leaps = cLeaps(leap, m_sectors);
    m_visited->VisitExtents(0, m_sectors, [&](u64 start, u64 sectors, SectorStatus status) {
      if (status == kMissing) end = ReadRange(start, start + sectors);
      return end == ReadingEnd::kNone;
    });
    if (end != ReadingEnd::kNone || m_done == m_work) break;
  }
  return end == ReadingEnd::kNone ? ReadingEnd::kDone : end;
}

ReadingEnd cReadEverythingJob::ReadRange(u64 first, u64 end) {
  first = std::max(first, m_leaps.LeavesBefore());
  while (first < end) {
    if (StopRequested()) return ReadingEnd::kStopped;
    // Asked before each request: a read-once storage would note as unreadable, for good, what a
    // source that is gone does not deliver.
    if (!m_source.IsThere()) return ReadingEnd::kSourceGone;
    const u64 boundary = (first / kRequestSectors + 1) * kRequestSectors;
    const u32 count = static_cast<u32>(std::min(boundary, end) - first);
    const u64 unreadableBefore = m_state.unreadable;
    const double started = platform::MonotonicSeconds();
    if (const ReadingEnd ended = ReadOne(first, count); ended != ReadingEnd::kNone) return ended;
    m_state.next = first + count;
    m_done += count;
    if (m_report) m_report(static_cast<double>(m_done) / static_cast<double>(m_work));
    const bool tookLong = platform::MonotonicSeconds() - started > cLeaps::kHardSeconds;
    first = m_leaps.Next(first + count, tookLong || m_state.unreadable > unreadableBefore);
  }
  return ReadingEnd::kNone;
}

ReadingEnd cReadEverythingJob::ReadOne(u64 first, u32 count) {
  m_io->SetPosition(first);
  const u32 got = m_io->Read(m_buffer.data(), count, nullptr);
  if (got < count && m_isReadOnce) return ReadingEnd::kCacheFailed;
  if (got < count) {
    const ReadingEnd end = ReadSingly(first + got, count - got);
    if (end != ReadingEnd::kNone) return end;
  }
  return m_map ? CheckKept(first, count) : ReadingEnd::kNone;
}

ReadingEnd cReadEverythingJob::ReadSingly(u64 first, u32 count) {
  for (u32 i = 0; i < count; ++i) {
    if (StopRequested()) return ReadingEnd::kStopped;
    if (!m_source.IsThere()) return ReadingEnd::kSourceGone;
    m_io->SetPosition(first + i);
    if (m_io->Read(m_buffer.data(), 1, nullptr) != 1) ++m_state.unreadable;
  }
  return ReadingEnd::kNone;
}

ReadingEnd cReadEverythingJob::CheckKept(u64 first, u32 count) {
  const StatusCounts counts = CountStatuses(m_map.get(), first, count);
  m_state.unreadable += counts.unreadable;
  // A cache that is looked at alone lacks what it lacks: nothing of it is fetched.
  return counts.missing > 0 && m_isReadOnce ? ReadingEnd::kNotKept : ReadingEnd::kNone;
}

std::u16string EndWords(ReadingEnd end, u64 unreadable) {
  switch (end) {
    case ReadingEnd::kNone:
      return {};
    case ReadingEnd::kDone:
      if (unreadable == 0) return Words("Everything was read.");
      return Words("Everything was read; {} {} unreadable.", unreadable,
                   unreadable == 1 ? "sector is" : "sectors are");
    case ReadingEnd::kStopped:
      return Words("Stopped. \"Read everything\" goes on from there.");
    case ReadingEnd::kSourceGone:
      return Words(
          "The source has become shorter or is gone.\nWhat was read is kept. Close it, open "
          "it again when it is back, and go on.");
    case ReadingEnd::kNotKept:
      return Words(
          "The cache does not keep what is read.\nIs its disk full, or gone? The source is "
          "not read any further.");
    case ReadingEnd::kCacheFailed:
      return Words("The cache cannot be read.\nThe source is not read any further.");
    case ReadingEnd::kAborted:
      return Words("Reading was ended by force.");
  }
  return {};
}

}  // namespace larkspur::host
