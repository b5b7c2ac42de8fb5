// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A failing disk through its cache, for any number of clients: what is there is read from the cache
// at once; what is missing is asked for by the one engine, on a thread of its own, in the order of
// the disk among those who wait. With a range to fill, the engine images it while no client waits.
//
// When the source is lost, those who wait are answered with what is there. The engine is begun
// again when a client connects; and, where the source was gone, when somebody wants sectors a
// second or more later.

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "nbd/block_source.h"
#include "rescue/engine.h"

namespace larkspur {

// The runs of an engine on one source and its cache, one after the other.
class EngineRuns {
 public:
  virtual ~EngineRuns() = default;

  // Null when there can be none now. `stop` stops the run, and outlives these runs' last one.
  virtual Engine* Begin(EngineOptions options, const std::atomic<bool>* stop) = 0;
  // Finishes the run that was begun.
  virtual void End() = 0;
};

class RescuedBlocks final : public BlockSource {
 public:
  struct Options {
    // Unreadable sectors are of use, as zeros: without it, nothing more is asked for a request that
    // has one.
    bool wantsUnreadable = false;
    // Asked now and then on the thread of a client that waits: true ends its waiting.
    std::function<bool()> isClientGone = {};
  };

  RescuedBlocks(std::unique_ptr<EngineRuns> runs, Options options);
  // Ends the run, if End did not. REQUIRES: no call of Fetch is under way.
  ~RescuedBlocks() override;

  // Begins the first run, for the caller to use until Start; null when that fails.
  Engine* Begin();
  // Begins to serve. `cached` is what the engine's cache has; `fill` may be empty.
  void Start(std::unique_ptr<BlockSource> cached, SectorRange fill);

  u64 Sectors() const override { return m_cached->Sectors(); }
  bool Fetch(u64 first, u32 count, u8* out, SectorStatus* statuses) override;
  void ClientCame() override;
  void End() override;

 private:
  struct Request {
    SectorRange range;
    bool isDone = false;
  };
  using RequestPtr = std::shared_ptr<Request>;

  // The client's side.
  bool IsWorthAsking(SectorRange* range, const SectorStatus* statuses) const;
  bool Await(SectorRange range);

  // The engine's thread.
  void Work();
  void WaitForReturn();
  double UseEngine();
  void ServeUntilQuiet();
  bool WaitForRequest(std::unique_lock<std::mutex>& lock, double seconds);
  RequestPtr TakeNext();
  void DismissAll(double seconds);

  std::unique_ptr<EngineRuns> m_runs;
  const Options m_options;
  std::unique_ptr<BlockSource> m_cached;
  SectorRange m_fill;
  Engine* m_engine = nullptr;
  u64 m_position = 0;  // where the last request ended
  std::atomic<bool> m_stop{false};

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::multimap<u64, RequestPtr> m_waiting;  // by their first sector
  std::atomic<size_t> m_waitingCount{0};
  bool m_hasEngine = false;
  double m_tryAgainAt = 0;  // without an engine: when there may be one again

  std::thread m_thread;
};

}  // namespace larkspur
