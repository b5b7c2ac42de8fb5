// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/read_everything.h"

#include <algorithm>
#include <cctype>

#include "host/model/words.h"
#include "imaging/summary.h"
#include "rescue/cache_store.h"

namespace larkspur::host {
namespace {

// The storage marks what fails at once: so soon must a silent disk be noticed.
constexpr u32 kMaxFailures = 16;

// Drives and kernels take up to half a minute over a bad sector, and more over the next one.
constexpr double kHangSeconds = 10;
constexpr char kHangAdvice[] =
    "\nThis request is taking a long time. If it does not finish, press Stop and resume with "
    "'larkspur image', which marks nothing because of a disk that hangs.";

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
    // Before each request: a read-once storage would note as unreadable, for good, what a source
    // that is gone does not deliver.
    if (!m_job->m_source.IsThere()) return Refused(FailureKind::kGone);
    const bool isRefused = m_refused.Contains(sector);
    const bool isProof = HasMarks() && !isRefused && !m_job->m_left.Contains(sector);
    return isProof ? AskSource(sector, buffer, count)
                   : AskStorage(sector, buffer, count, isRefused);
  }
  const SourceIdentity& Identity() const override { return m_identity; }
  bool Reconnect(double) override { return false; }

 private:
  static AskOutcome Refused(FailureKind kind) {
    AskOutcome outcome;
    outcome.kind = kind;
    return outcome;
  }
  static AskOutcome Delivered(u32 count) {
    AskOutcome outcome;
    outcome.delivered = count;
    return outcome;
  }
  // Whether the storage marks what fails.
  bool HasMarks() const { return m_job->m_isReadOnce && m_job->m_map; }

  // For a sector that the cache has, to see whether the disk still answers: of a silent disk the
  // storage would answer from its cache. A source that the host does not know proves nothing.
  AskOutcome AskSource(u64 sector, void* buffer, u32 count) {
    cBaseIO* const source = m_job->m_source.io.get();
    if (!source) return Refused(FailureKind::kUnclear);
    source->SetPosition(sector);
    const bool isThere = source->Read(buffer, count, nullptr) == count;
    return isThere ? Delivered(count) : Refused(FailureKind::kUnclear);
  }

  // `isRefused`: asked before, with others, so that the storage has settled each of them.
  AskOutcome AskStorage(u64 sector, void* buffer, u32 count, bool isRefused) {
    m_job->m_io->SetPosition(sector);
    const u32 got = m_job->m_io->Read(buffer, count, nullptr);
    if (got < count && m_job->m_isReadOnce) {
      m_job->m_cacheFailed = true;
      return Refused(FailureKind::kGone);
    }
    const StatusCounts kept =
        m_job->m_map ? CountStatuses(m_job->m_map.get(), sector, count) : StatusCounts();
    // What the cache did not keep is found out when it is stored, and ends the run.
    const bool isLost = m_job->m_isReadOnce && kept.missing + kept.unknown > 0;
    const bool isGood = isLost || (got == count && kept.unreadable == 0);
    if (isGood || count == 1 || HasMarks()) m_job->m_left.Remove({sector, count});
    if (isGood) return Delivered(count);
    // What is not marked, or is marked already, needs no proof.
    if (!HasMarks() || isRefused) return Refused(FailureKind::kMedium);
    m_refused.Add({sector, count});
    return Refused(FailureKind::kUnclear);
  }

  cReadEverythingJob* m_job;
  SourceIdentity m_identity;
  ExtentSet m_refused;  // of requests that failed in this run, where the storage marks
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
  m_io = CloneOf(storage);
  if (!m_io) return false;
  m_isReadOnce = storage.IO()->GetTypeId() == kTypeReadOnce;
  m_source = storage.source.Clone();
  if (storage.map) m_map.reset(static_cast<cKVRSparseIO*>(storage.map->Clone()));
  // What is gone is not to pass for what is not known.
  if ((storage.source.io && !m_source.io) || (storage.map && !m_map)) return false;
  m_told = {};
  m_rate = {};
  m_original = storage.IO();
  m_sectors = storage.sectors;
  m_cacheFailed = false;
  m_ended = {};
  m_ended.storagePath = storage.path;
  m_ended.sourcePath = m_source.path;
  return true;
}

void cReadEverythingJob::Release() {
  m_original = nullptr;
  m_io.reset();
  m_map.reset();
  m_source = {};
}

u32 cReadEverythingJob::Run() {
  m_ended.end = ReadAll();
  return 0;
}

ReadingEnd cReadEverythingJob::ReadAll() {
  StorageSource source(this);
  StorageStore store(this);
  m_left.Clear();
  store.Visit({0, m_sectors}, [this](u64 start, u64 sectors, SectorStatus status) {
    if (status == kMissing) m_left.Add({start, sectors});
    return true;
  });
  m_shareAtStart = Share();
  NoLog log;
  EngineOptions options;
  options.maxFailures = kMaxFailures;
  options.inThread = false;  // this is the thread
  Engine engine(&source, &store, &log, m_clock, &StopFlag(), options);
  engine.OnProgress([this](const RescueProgress& progress) { Tell(progress); });
  if (!engine.Want(ExtentSet({0, m_sectors}))) return ReadingEnd::kCacheFailed;
  engine.Image();
  const ReadingEnd end = EndOf(engine.Finish());
  const StatusCounts kept = m_map ? CountStatuses(m_map.get(), 0, m_sectors) : StatusCounts();
  m_ended.unreadable = m_map ? kept.unreadable : engine.Progress().all.unreadable;
  m_ended.missing = kept.missing + kept.unknown;
  return m_cacheFailed ? ReadingEnd::kCacheFailed : end;
}

double cReadEverythingJob::Share() const {
  if (m_sectors == 0) return 1;
  return static_cast<double>(m_sectors - m_left.Sectors()) / static_cast<double>(m_sectors);
}

void cReadEverythingJob::Tell(const RescueProgress& progress) {
  {
    const cSafeCriticalSectionAccess access(&m_section);
    m_told = progress;
    m_toldAt = m_clock->Seconds();
    m_sectorsPerSecond = m_rate.Add(progress.domain.present, m_toldAt);
  }
  if (m_report) m_report(Share(), m_shareAtStart);
}

std::u16string cReadEverythingJob::Progress() {
  const cSafeCriticalSectionAccess access(&m_section);
  return ReadingWords(m_told, m_sectorsPerSecond, m_clock->Seconds() - m_toldAt);
}

namespace {

// "3 sectors are unreadable"
std::string CountWords(u64 count, const char* what) {
  return fmt::format("{} {} {}", count, count == 1 ? "sector is" : "sectors are", what);
}

std::u16string DoneWords(const ReadingReport& ended) {
  std::string words = ended.missing == 0 ? "Everything was read" : "What can be read here was read";
  if (ended.missing > 0) words += "; " + CountWords(ended.missing, "missing");
  if (ended.unreadable > 0) words += "; " + CountWords(ended.unreadable, "unreadable");
  return Words("{}.", words);
}

// Three lines: what happened, to which file, what to do.
std::u16string FaultWords(std::string what, const std::u16string& path, const std::string& advice) {
  what[0] = static_cast<char>(std::toupper(what[0]));
  return Words("{}.\n{}{}{}", what, Utf8(path), path.empty() ? "" : "\n", advice);
}

}  // namespace

std::u16string ReadingWords(RescueProgress progress, double sectorsPerSecond, double secondsAgo) {
  if (progress.phase == Phase::kIdle) return {};
  progress.secondsSinceSuccess += secondsAgo;
  ProgressFacts facts = FactsOf(progress, sectorsPerSecond);
  // The line before this one says both.
  facts.sectors = 0;
  facts.secondsLeft = -1;
  return Words("{}{}", FormatProgress(facts), secondsAgo < kHangSeconds ? "" : kHangAdvice);
}

std::u16string EndWords(const ReadingReport& ended) {
  switch (ended.end) {
    case ReadingEnd::kNone:
      return {};
    case ReadingEnd::kDone:
      return DoneWords(ended);
    case ReadingEnd::kStopped:
      return Words("Stopped. \"Read everything\" resumes from there.");
    case ReadingEnd::kSourceGone:
      return FaultWords(kSourceGone, ended.sourcePath,
                        "What was read is kept. When it is back, close the storage, open it "
                        "again, and resume.");
    case ReadingEnd::kNotAnswering:
      return FaultWords(kNotAnswering, ended.sourcePath,
                        std::string(kWakeTheDisk) +
                            ", then resume with 'larkspur image', which marks nothing because of a "
                            "disk that is silent. With --retry it also reads again what was marked "
                            "here since the last answer.");
    case ReadingEnd::kNotKept:
      return FaultWords("the cache could not be written", ended.storagePath,
                        "Is its disk full, or gone? Make room or bring it back, then read again. "
                        "Nothing more is read from the source.");
    case ReadingEnd::kCacheFailed:
      return FaultWords("the cache cannot be read", ended.storagePath,
                        "Copy the file to a healthy disk, and work on the copy. Nothing more is "
                        "read from the source.");
    case ReadingEnd::kAborted:
      return Words("Reading was ended by force.");
  }
  return {};
}

}  // namespace larkspur::host
