// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening what a user names as the storage to read.

#include <memory>
#include <string>

#include "base/owned.h"
#include "imaging/mapfile.h"
#include "imaging/source_options.h"
#include "io/base_io.h"
#include "io/piecewise_io.h"
#include "rescue/asked_source.h"

namespace larkspur {

enum class SourceFaultKind {
  kCannotOpen,  // systemError says why
  kEmpty,       // no whole sector
  kTooLarge,    // no image can be made of that many sectors
  kMapfile,     // mapfile says what is wrong with it
};

struct SourceFault {
  SourceFaultKind kind;
  u32 systemError = 0;
  u64 sectors = 0;
  MapfileFault mapfile = {};
};

// A source ready for reading once: never opened for writing.
struct Source {
  // For the engine: asked one request at a time, with failures judged. A drive is not asked again
  // who it is.
  std::unique_ptr<AskedSource> asked;
  Owned<cPiecewiseIO> io;
  std::shared_ptr<SourceTraffic> traffic;
  u64 sectors = 0;
  u32 trailingBytes = 0;  // past the last whole sector; not part of any storage

  // The storage as it is, without a cache; `io` is gone then.
  Owned<cBaseIO> TakeStorage();
};

// Opens `path` for reading.
Result<Source, SourceFault> OpenSource(const std::u16string& path, const SourceOptions& options);

}  // namespace larkspur
