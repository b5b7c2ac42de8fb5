// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The engine: the one owner of a failing source. It decides what is asked, when, and what a failure
// means (docs/rescue.md).
//
// A sector is asked for at most twice: once with its neighbours, once alone, which is its physical
// sector. What reads well comes first. What is refused is marked only once the disk has proved to
// be alive at or after it. One thread at a time.

#include <functional>
#include <memory>

#include "rescue/ask_queue.h"
#include "rescue/ledger.h"
#include "rescue/rescue_history.h"
#include "rescue/silence.h"
#include "rescue/store_keeper.h"
#include "rescue/time_left.h"
#include "rescue/witnesses.h"

namespace larkspur {

enum class Phase { kIdle, kCopy, kBack, kSweep, kTrim, kScrape, kRetry, kFetch };
// The name that the log and people see: "copy", "back" ...
const char* PhaseName(Phase phase);

// Why a run ended.
enum class StopReason {
  kNone,  // it has not
  kDone,
  kStopped,          // the user asked for it
  kGone,             // the source is no longer there
  kNotAnswering,     // the source answers nothing any more
  kFull,             // there is no room for what would be read
  kStoreFailed,      // the cache does not keep what was read
  kCacheUnreadable,  // the cache cannot be read
  kSystemFailed,     // this machine cannot ask: no memory, no handle, no permission
};

struct RescueProgress {
  Phase phase = Phase::kIdle;
  u64 sectors = 0;   // of the storage
  StatusCounts all;  // of the storage
  u64 domainSectors = 0;
  StatusCounts domain;  // of what is wanted
  u64 asked = 0;        // sectors asked of the source in this run, each counted once
  u64 position = 0;     // where it reads
  double secondsSinceSuccess = 0;
  double secondsLeft = -1;  // of the domain; below 0: not known
  bool isWaiting = false;   // a request has been under way for a second or more
};

struct EngineOptions {
  bool scrape = true;    // false: what failed together with others is not asked alone
  bool reverse = false;  // from the end
  u32 maxFailures = 64;  // unclear ones in a row, before the disk must prove to be alive
  u64 maxBytesPerSecond = 0;
  bool inThread = true;  // asks on a thread of its own
  // Called when the disk no longer answers, or is gone, instead of ending; true when it is there
  // again. Empty: the run ends.
  std::function<bool(StopReason)> onSilent = {};
  // For those who want sectors while Image works: as long as `isAwaited`, nothing of the image is
  // asked for, and once nothing is under way `serve` is called, which may call Fetch and
  // ReadMissing. Empty: Image has the source to itself.
  std::function<bool()> isAwaited = {};
  std::function<void()> serve = {};
};

class Engine {
 public:
  // Told often, also while a request hangs: the receiver limits how often it is shown.
  using Monitor = std::function<void(const RescueProgress&)>;

  // None of them is owned; all outlive the engine.
  Engine(AskedSource* source, RescueStore* store, RescueLog* log, RescueClock* clock,
         const std::atomic<bool>* stop, EngineOptions options);

  // Takes over what the log says was tried, and what was stored without being flushed to disk.
  // Before the first request.
  void Resume(RescueHistory* history);
  void OnProgress(Monitor monitor) { m_monitor = std::move(monitor); }

  // Takes what is wanted, cut at the storage's end and widened to whole physical sectors.
  bool Want(const ExtentSet& domain);
  // Reads what is wanted and missing, in phases.
  void Image();
  // Asks for the unreadable sectors of `domain`, and only those, alone once more.
  void Retry(const ExtentSet& domain);
  // Reads what is missing of the range into the cache. `untilRefused`: the range is of no use
  // without all of its sectors, so nothing more is asked for once one of them was refused.
  void ReadMissing(SectorRange range, bool untilRefused);
  // Reads what is missing of the range, for somebody who waits for it, and copies it to `out`.
  // Answers how many sectors, from the first on, are settled: data, or zeros where unreadable.
  u64 Fetch(SectorRange range, u8* out);
  // To be called now and then by those who keep an engine with nothing to do: flushes to disk when
  // it is time to.
  void Idle() { SyncWhenDue(); }

  // Ends the run: asks for proof where it is wanted, flushes everything to disk, and says so in the
  // log. The reason is final afterwards.
  StopReason Finish();

  StopReason Reason() const { return m_reason; }
  // The system's error number of the reason; 0 when there is none.
  u32 SystemError() const { return m_systemError; }
  const RescueProgress& Progress() const { return m_progress; }
  const SourceIdentity& Source() const { return m_source->Identity(); }
  // Sectors that are missing although they were asked for, and will not be asked for again.
  u64 Unproved() const { return m_ledger.refused.Sectors() + m_ledger.spent.Sectors(); }

 private:
  using Next = std::function<std::optional<SectorRange>()>;
  using Settled = std::function<void(const Asked&)>;

  // The order of work.
  void Begin(Phase phase);
  bool CountAll();
  enum class Skip { kNothing, kOnePiece, kFailures, kFailuresAndSlowness };
  void Scan(Phase phase, bool forward, Skip skip, SectorRange within);
  void Trim();
  void Scrape();
  void AskWitnesses();
  // Asks for the physical sectors of `area` one by one, from one end, up to the first that fails.
  // True when none did.
  bool AskAlone(SectorRange area, bool forward);
  void TrimFrom(SectorRange area, bool forward);
  void AskBeforeNamed(SectorRange area);

  // One stream of requests: what `next` gives is asked in order; `settled` hears of each answer.
  // `alone`: physical sectors that are asked for by themselves, and not because reading came upon
  // what is left of a piece.
  void Stream(bool alone, const Next& next, const Settled& settled);
  bool TakeAnswers(const Settled& settled);
  void StopWhileWaiting();
  bool IsAwaited() { return !m_isServing && m_options.isAwaited && m_options.isAwaited(); }
  void GiveWay(const Settled& settled);
  bool StoreAnswers(std::span<const Asked> answers);
  void Settle(const Asked& asked);
  void SettleFailure(const Asked& asked);
  void SettleSlip(SectorRange range);
  void LogFailure(const Asked& asked);
  void AliveNow();
  void FailedNow(const Asked& asked);
  void CountAsked(SectorRange range);

  // Proof of life.
  bool NeedsProof();
  bool Prove();
  bool IsRowLong() const;
  enum class Proof { kAlive, kNone, kNothingToAsk };
  struct Witness {
    SectorRange range;
    bool isKnownGood;    // the cache has it: what comes is not stored
    bool isAny = false;  // nothing says that it should read well
  };
  Proof AskForProof(bool isEarly);
  std::optional<SectorRange> ProveElsewhere(SectorRange first, bool isEarly);
  std::optional<SectorRange> AskAllOver();
  std::optional<Witness> PickProof(u64 farFrom, bool isElsewhere, bool isEarly);
  u32 ProbeAfter(bool alone) const;
  bool NeedsProbe(bool alone);
  void Probe();
  void FallSilent(bool isOld);
  double RowSeconds() const { return m_clock->Seconds() - m_firstFailure; }
  bool MayAskKnownGood() const;
  void GreetWoken();
  FailureKind ProveBy(const Witness& witness);

  bool PrepareStore(SectorRange range);
  void SyncWhenDue();
  void Sync();

  void StopWith(StopReason reason, u32 systemError);
  // By the system's last failure; both answer false.
  bool StopForStore();
  bool StopForUnreadableCache();
  void EndOrWake(StopReason reason, u32 systemError);
  bool IsStopping();
  void Tell();
  double SecondsLeft() const;

  AskedSource* m_source;
  RescueStore* m_store;
  RescueLog* m_log;
  RescueClock* m_clock;
  const std::atomic<bool>* m_stop;
  EngineOptions m_options;
  AskQueue m_queue;
  SectorUnits m_units;
  Ledger m_ledger;
  Witnesses m_witnesses;
  Silence m_silence;
  StoreKeeper m_keeper;
  TimeLeft m_timeLeft;

  ExtentSet m_planned;        // what was wanted so far
  ExtentSet m_triedTogether;  // by earlier runs, where nothing was planned yet
  ExtentSet m_triedAlone;
  ExtentSet m_slipped;  // came to nothing once without the medium's doing
  u32 m_earlierRuns = 0;
  ExtentSet m_triedEarlier;  // asked by earlier runs, so that this one counts them once
  std::vector<std::pair<u64, u64>> m_named;  // bad sectors that the drive named: in which piece
  bool m_isRetrying = false;
  bool m_isServing = false;

  u64 m_failures = 0;
  u32 m_failuresInRow = 0;
  double m_firstFailure = 0;  // of the row; seconds of the clock, as what follows
  double m_lastSuccess;
  double m_askStarted = 0;
  u32 m_systemFailures = 0;  // without a success since, as m_wakings
  u32 m_wakings = 0;
  bool m_isWoken = false;    // after a silence, and has not been asked since
  bool m_isDoubted = false;  // it answers, and was perhaps silent until now
  TakenBack m_unprovedAtEnd;

  double m_started;
  u64 m_retryLeft = 0;  // sectors that are to be retried

  Monitor m_monitor;
  RescueProgress m_progress;
  StopReason m_reason = StopReason::kNone;
  u32 m_systemError = 0;
};

}  // namespace larkspur
