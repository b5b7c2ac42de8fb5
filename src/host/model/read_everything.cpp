// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/read_everything.h"

#include <algorithm>

#include "host/model/words.h"
#include "imaging/summary.h"
#include "rescue/cache_store.h"

namespace larkspur::host {
namespace {

// The storage marks what fails at once: so soon must a silent disk be noticed.
constexpr u32 kMaxFailures = 16;

class NoLog final : public RescueLog {
 public:
  void Write(const LogEvent&) override {}
  void Sync() override {}
};

ReadingEnd EndOf(StopReason reason) {
  switch (reason) {
    case StopReason::kNone:
    case StopReason::kDone:
      return ReadingEnd::kDone;
    case StopReason::kStopped:
      return ReadingEnd::kStopped;
    case StopReason::kGone:
      return ReadingEnd::kSourceGone;
    case StopReason::kNotAnswering:
      return ReadingEnd::kNotAnswering;
    case StopReason::kFull:
    case StopReason::kStoreFailed:
      return ReadingEnd::kNotKept;
    case StopReason::kCacheUnreadable:
    case StopReason::kSystemFailed:
      return ReadingEnd::kCacheFailed;
  }
  return ReadingEnd::kCacheFailed;
}

}  // namespace

// The storage as the engine's source. A sector counts as failed when the cache says so afterwards,
// or, without a cache, when it does not come.
class cReadEverythingJob::StorageSource final : public AskedSource {
 public:
  explicit StorageSource(cReadEverythingJob* job) : m_job(job) {
    m_identity.sectors = job->m_sectors;
  }

  AskOutcome Ask(u64 sector, void* buffer, u32 count) override {
    AskOutcome outcome;
    // Asked before each request: a read-once storage would note as unreadable, for good, what a
    // source that is gone does not deliver.
    if (!m_job->m_source.IsThere()) {
      outcome.kind = FailureKind::kGone;
      return outcome;
    }
    m_job->m_io->SetPosition(sector);
    const u32 got = m_job->m_io->Read(buffer, count, nullptr);
    const StatusCounts kept =
        m_job->m_map ? CountStatuses(m_job->m_map.get(), sector, count) : StatusCounts();
    // What the cache did not keep is found out when it is stored, and ends the run.
    const bool isLost = m_job->m_isReadOnce && kept.missing + kept.unknown > 0;
    if (got < count && m_job->m_isReadOnce) {
      m_job->m_cacheFailed = true;
      outcome.kind = FailureKind::kGone;
    } else if (!isLost && (got < count || kept.unreadable > 0)) {
      // Without a cache nothing is marked, so nothing needs proof.
      outcome.kind = m_job->m_isReadOnce ? FailureKind::kUnclear : FailureKind::kMedium;
    } else {
      outcome.delivered = count;
    }
    return outcome;
  }
  const SourceIdentity& Identity() const override { return m_identity; }
  bool Reconnect(double) override { return false; }

 private:
  cReadEverythingJob* m_job;
  SourceIdentity m_identity;
};

// What was read, as far as this run knows. A read-once storage keeps it in its cache by itself.
class cReadEverythingJob::StorageStore final : public RescueStore {
 public:
  explicit StorageStore(cReadEverythingJob* job) : m_job(job) {}

  u64 Sectors() const override { return m_job->m_sectors; }
  bool Visit(SectorRange range, const ExtentVisitor& visit) override {
    if (m_job->m_isReadOnce && m_job->m_map) {
      return CacheStore(m_job->m_map.get(), nullptr).Visit(range, visit);
    }
    visit(range.first, range.count, kMissing);  // nothing remembers what was read
    return true;
  }
  bool MakeRoom(SectorRange) override { return true; }
  bool Store(u64 first, const u8*, u32 count, bool) override {
    // A cache that is looked at alone lacks what it lacks: nothing of it is fetched.
    if (!m_job->m_isReadOnce || !m_job->m_map) return true;
    const StatusCounts kept = CountStatuses(m_job->m_map.get(), first, count);
    return kept.missing + kept.unknown == 0;
  }
  bool MarkUnreadable(SectorRange range) override {
    return Store(range.first, nullptr, static_cast<u32>(range.count), false);
  }
  bool Load(u64, u8*, u32) override { return true; }
  bool Sync() override { return true; }

 private:
  cReadEverythingJob* m_job;
};

bool cReadEverythingJob::Prepare(const Storage& storage) {
  Release();
  m_io.reset(storage.IO()->Clone());
  if (!m_io) return false;
  m_isReadOnce = storage.IO()->GetTypeId() == kTypeReadOnce;
  m_source = storage.source.Clone();
  if (storage.map) m_map.reset(static_cast<cKVRSparseIO*>(storage.map->Clone()));
  m_original = storage.IO();
  m_sectors = storage.sectors;
  m_cacheFailed = false;
  m_state.unreadable = 0;
  m_state.end = ReadingEnd::kNone;
  return true;
}

void cReadEverythingJob::Release() {
  m_original = nullptr;
  m_io.reset();
  m_map.reset();
  m_source = {};
}

u32 cReadEverythingJob::Run() {
  m_state.end = ReadAll();
  return 0;
}

ReadingEnd cReadEverythingJob::ReadAll() {
  StorageSource source(this);
  StorageStore store(this);
  NoLog log;
  EngineOptions options;
  options.maxFailures = kMaxFailures;
  options.inThread = false;  // this is the thread
  Engine engine(&source, &store, &log, m_clock, &StopFlag(), options);
  engine.OnProgress([this](const RescueProgress& progress) { Tell(progress); });
  if (!engine.Want(ExtentSet({0, m_sectors}))) return ReadingEnd::kCacheFailed;
  m_work = engine.Progress().domain.missing;
  engine.Image();
  const ReadingEnd end = EndOf(engine.Finish());
  return m_cacheFailed ? ReadingEnd::kCacheFailed : end;
}

void cReadEverythingJob::Tell(const RescueProgress& progress) {
  m_state.unreadable = progress.all.unreadable;
  const u64 left = progress.domain.missing;
  if (!m_report || m_work == 0) return;
  m_report(static_cast<double>(m_work - left) / static_cast<double>(m_work));
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
      return Words("Stopped. \"Read everything\" resumes from there.");
    case ReadingEnd::kSourceGone:
      return Words(
          "The source has become shorter or is gone.\nWhat was read is kept. Close it, open "
          "it again when it is back, and resume.");
    case ReadingEnd::kNotAnswering:
      return Words(
          "The disk has stopped answering.\nSwitch its power off and on, check the cable, let "
          "it cool down, then read again.");
    case ReadingEnd::kNotKept:
      return Words(
          "The cache could not be written.\nIs its disk full, or gone? Nothing more is read from "
          "the source.");
    case ReadingEnd::kCacheFailed:
      return Words("The cache cannot be read.\nNothing more is read from the source.");
    case ReadingEnd::kAborted:
      return Words("Reading was ended by force.");
  }
  return {};
}

}  // namespace larkspur::host
