// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/rescue_session.h"

#include <algorithm>

#include "base/path_text.h"
#include "platform/boot.h"
#include "platform/page_cache.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

tl::unexpected<SessionFault> FailedAs(SessionFaultKind kind) {
  return Failed(SessionFault{kind, platform::LastFailure()});
}

SameDisk Compare(const RescueHistory& history, const SourceIdentity& now) {
  if (!history.source) return SameDisk::kNew;
  const SourceIdentity& before = *history.source;
  if (now.IsOtherThan(before)) return SameDisk::kOther;
  return now.serial.empty() || before.serial.empty() ? SameDisk::kUnknown : SameDisk::kSame;
}

bool IsAllZero(const u8* bytes, size_t count) {
  return std::all_of(bytes, bytes + count, [](u8 byte) { return byte == 0; });
}

// Adds the sectors of a present range that are nothing but zeros; false when they cannot be read.
bool FindZeros(RescueStore* store, SectorRange range, ExtentSet* zeros) {
  constexpr u32 kChunk = 2048;
  const auto data = std::make_unique<u8[]>(u64{kChunk} * kSectorBytes);
  for (u64 at = range.first; at < range.End();) {
    const u32 count = static_cast<u32>(std::min<u64>(range.End() - at, kChunk));
    if (!store->Load(at, data.get(), count)) return false;
    for (u32 i = 0; i < count; ++i) {
      if (IsAllZero(data.get() + u64{i} * kSectorBytes, kSectorBytes)) zeros->Add({at + i, 1});
    }
    at += count;
  }
  return true;
}

}  // namespace

RescueSession::RescueSession(Source* source, Cache* cache, const std::u16string& cachePath,
                             const std::atomic<bool>* stop)
    : m_source(source),
      m_cache(cache),
      m_cachePath(cachePath),
      m_stop(stop),
      m_store(cache->image.get(), cache->lock.get()) {}

Result<void, SessionFault> RescueSession::Open(EngineOptions options, bool otherSource) {
  const std::u16string logPath = LogPathOf(m_cachePath);
  RescueHistory history = ReadHistory(logPath, m_source->sectors);
  m_wrongLogLine = history.firstWrongLine;
  // A log of another cache of the same name says nothing of this one.
  if (history.stamp != m_cache->image->Layout().stamp) history = {};
  const SourceIdentity& identity = m_source->asked->Identity();
  m_identity = Compare(history, identity);
  if (history.source) m_before = *history.source;
  if (m_identity == SameDisk::kOther && !otherSource) {
    return FailedAs(SessionFaultKind::kOtherSource);
  }
  // What another disk refused says nothing of this one.
  if (m_identity == SameDisk::kOther) {
    history.triedTogether.Clear();
    history.triedAlone.Clear();
  }
  const std::string boot = platform::BootId();
  const bool wasCut = !history.storing.IsEmpty() && history.boot != boot;
  if (history.syncFailed) {
    if (!m_cache->lock->Sync()) return FailedAs(SessionFaultKind::kCacheNotFlushed);
    platform::DropCachedPages(m_cachePath.c_str());
  }
  if (wasCut || history.syncFailed) {
    const std::optional<u64> disbelieved = DisbelieveZeros(m_cache->image.get(), history.storing);
    if (!disbelieved) return FailedAs(SessionFaultKind::kCacheUnreadable);
    m_disbelieved = *disbelieved;
  }
  auto log = FileLog::Open(logPath, {WideFromUtf8(m_source->asked->Identity().path), m_cachePath});
  if (!log) return Failed(SessionFault{SessionFaultKind::kLog, 0, log.error()});
  m_log = std::move(*log);
  m_log->Write(LogEvent("open")
                   .Add("version", LARKSPUR_VERSION)
                   .Add("boot", boot)
                   .Add("source", identity)
                   .Add("stamp", u64{m_cache->image->Layout().stamp}));
  m_engine = std::make_unique<Engine>(m_source->asked.get(), &m_store, m_log.get(), &m_clock,
                                      m_stop, std::move(options));
  m_engine->Resume(&history);
  return {};
}

std::optional<u64> DisbelieveZeros(cKVRSparseIO* image, const ExtentSet& storing) {
  CacheStore store(image, nullptr);
  ExtentSet present, zeros;
  bool isRead = true;
  storing.Visit([&](SectorRange area) {
    isRead = isRead && store.Visit(area, [&](u64 start, u64 sectors, SectorStatus status) {
      if (status == kPresent) present.Add({start, sectors});
      return true;
    });
  });
  present.Visit([&](SectorRange range) { isRead = isRead && FindZeros(&store, range, &zeros); });
  zeros.Visit(
      [&](SectorRange range) { isRead = isRead && image->MarkMissing(range.first, range.count); });
  return isRead ? std::optional(zeros.Sectors()) : std::nullopt;
}

}  // namespace larkspur
