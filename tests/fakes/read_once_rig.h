// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A recording source, an image on a memory store and a read-once storage over both, as the
// module puts them together; Open() again is a new run on the same cache.

#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "io/piecewise_io.h"
#include "io/read_once_io.h"

namespace larkspur::fakes {

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
  bool inPieces = true;  // through cPiecewiseIO
  Owned<cReadOnceIO> view;
};

}  // namespace larkspur::fakes
