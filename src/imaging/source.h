// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening what a user names as the storage to read.

#include <memory>
#include <string>

#include "base/owned.h"
#include "imaging/mapfile.h"
#include "io/base_io.h"
#include "io/piecewise_io.h"

namespace larkspur {

enum class SourceAnswer {
  kOpened,
  kCannotOpen,  // systemError says why
  kEmpty,       // no whole sector
  kTooLarge,    // no image can be made of that many sectors
  kMapfileUnreadable,
  kMapfileWrong,  // mapfileFault says where
};

// A source ready for reading once: never opened for writing.
struct Source {
  SourceAnswer answer = SourceAnswer::kCannotOpen;
  u32 systemError = 0;
  MapfileFault mapfileFault;

  Owned<cPiecewiseIO> io;
  std::shared_ptr<SourceTraffic> traffic;
  u64 sectors = 0;
  u32 looseBytes = 0;  // behind the last whole sector; not part of any storage
};

// Opens `path` for reading. With `testMapfile` not empty, every sector fails that this ddrescue
// mapfile does not mark as finished.
Source OpenSource(const std::u16string& path, const std::u16string& testMapfile);

}  // namespace larkspur
