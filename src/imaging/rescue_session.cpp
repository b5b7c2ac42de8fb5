// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/rescue_session.h"

#include "base/path_text.h"
#include "imaging/cache_history.h"
#include "platform/boot.h"
#include "platform/file.h"
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
  auto read = HistoryOf(m_cachePath, m_cache->image->Layout());
  // Without it, what was refused would be asked again, and what a power cut left be believed.
  if (!read) return Failed(SessionFault{SessionFaultKind::kLogUnreadable, read.error()});
  RescueHistory history = std::move(*read);
  m_wrongLogLine = history.firstWrongLine;
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
  if (history.syncFailed) {
    if (!m_cache->lock->Sync()) return FailedAs(SessionFaultKind::kCacheNotFlushed);
    platform::DropCachedPages(m_cachePath.c_str());
  }
  if (IsStoringInDoubt(history, m_cachePath)) {
    const std::optional<u64> disbelieved = DisbelieveZeros(m_cache->image.get(), history.storing);
    if (!disbelieved) return FailedAs(SessionFaultKind::kCacheUnreadable);
    m_disbelieved = *disbelieved;
  }
  auto log = FileLog::Open(logPath, {WideFromUtf8(m_source->asked->Identity().path), m_cachePath});
  if (!log) return Failed(SessionFault{SessionFaultKind::kLog, 0, log.error()});
  m_log = std::move(*log);
  m_log->Write(LogEvent("open")
                   .Add("version", LARKSPUR_VERSION)
                   .Add("boot", platform::BootId())
                   .Add("medium", platform::MediumStay(m_cachePath.c_str()))
                   .Add("source", identity)
                   .Add("stamp", u64{m_cache->image->Layout().stamp}));
  m_engine = std::make_unique<Engine>(m_source->asked.get(), &m_store, m_log.get(), &m_clock,
                                      m_stop, std::move(options));
  m_engine->Resume(&history);
  return {};
}

}  // namespace larkspur
