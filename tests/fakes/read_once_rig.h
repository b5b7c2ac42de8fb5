// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A recording source, an image on a memory store and a read-once storage over both, as the command
// line puts them together; Open() again is a new run on the same cache.

#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "io/piecewise_io.h"
#include "io/read_once_io.h"

namespace larkspur::fakes {

// Marks what the source refused, and continues or not as told when the image keeps nothing.
class ScriptedGuard final : public cFetchGuard {
 public:
  explicit ScriptedGuard(SourceTraffic* traffic) : m_traffic(traffic) {}

  bool ConfirmUnreadable(u64 sector) override {
    lastAsked = sector;
    return m_traffic->refusedBySource;
  }
  bool GoOnUnstored(u64 sector, u32 count) override {
    unstored += std::to_string(sector) + "+" + std::to_string(count) + " ";
    return goOn;
  }

  u64 lastAsked = kNowhere;
  std::string unstored;
  bool goOn = false;

 private:
  SourceTraffic* m_traffic;
};

struct ReadOnceRig {
  explicit ReadOnceRig(u64 sectors)
      : script(std::make_shared<SourceScript>(sectors)), store(MakeStore()) {}

  // A new run: an image is made when the store holds none, and else opened. False on failure.
  bool Open();
  // Reads [first, first+count) and checks every answered sector: the source's pattern, or zeros
  // where it fails.
  u32 Read(u64 first, u32 count);
  // Reads everything in requests of `request` sectors until one comes out short.
  void ReadAll(u32 request);
  std::string Statuses() { return fakes::Statuses(view->Image(), 0, script->sectors); }

  std::shared_ptr<SourceScript> script;
  std::shared_ptr<MemoryStore> store;
  std::shared_ptr<SourceTraffic> traffic;
  std::unique_ptr<ScriptedGuard> guard;
  std::atomic<bool> stop{false};  // the user's wish, cleared by Open
  bool inPieces = true;           // through cPiecewiseIO
  bool guarded = true;
  Owned<cReadOnceIO> view;
};

}  // namespace larkspur::fakes
