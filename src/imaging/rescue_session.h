// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// One run on a source and its cache: the rescue log is read and compared, what a power cut left
// undone is undone, and the engine stands ready. For every face that reads a failing source.

#include <memory>
#include <optional>
#include <string>

#include "imaging/cache.h"
#include "imaging/source.h"
#include "rescue/cache_store.h"
#include "rescue/engine.h"

namespace larkspur {

enum class SessionFaultKind {
  kOtherSource,      // the cache was made of another disk of the same size: Before() says which
  kCacheNotFlushed,  // an earlier flush to disk failed, and this one, too: systemError
  kCacheUnreadable,  // systemError
  kLogUnreadable,    // systemError: what was tried, and what may be lost, is not known
  kLog,              // nothing can be logged: logFault
};

struct SessionFault {
  SessionFaultKind kind;
  u32 systemError = 0;
  LogFault logFault{};
};

// What the log says of the source's identity.
enum class SameDisk { kNew, kSame, kUnknown, kOther };

class RescueSession {
 public:
  // All of them outlive the session.
  RescueSession(Source* source, Cache* cache, const std::u16string& cachePath,
                const std::atomic<bool>* stop);

  // `otherSource`: another disk than the log's is meant.
  Result<void, SessionFault> Open(EngineOptions options, bool otherSource);

  // REQUIRES: it is open.
  Engine& Rescue() { return *m_engine; }
  RescueStore& Store() { return m_store; }

  SameDisk Identity() const { return m_identity; }
  // The disk of the last run before this one.
  const SourceIdentity& Before() const { return m_before; }
  // Present sectors that were not believed after a power cut, and became missing again.
  u64 Disbelieved() const { return m_disbelieved; }
  // The first of the log's lines that make no sense, from 1; 0: none.
  u64 WrongLogLine() const { return m_wrongLogLine; }
  // The system's error when the log cannot be written; 0 while it can.
  u32 LogFailure() const { return m_log ? m_log->Failure() : 0; }

 private:
  Source* m_source;
  Cache* m_cache;
  std::u16string m_cachePath;
  const std::atomic<bool>* m_stop;
  CacheStore m_store;
  RescueClock m_clock;
  std::unique_ptr<FileLog> m_log;
  std::unique_ptr<Engine> m_engine;
  SameDisk m_identity = SameDisk::kNew;
  SourceIdentity m_before;
  u64 m_disbelieved = 0;
  u64 m_wrongLogLine = 0;
};

}  // namespace larkspur
