// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Writing a cache out as a raw image that any tool reads.

#include <atomic>
#include <functional>
#include <string>

#include "imaging/summary.h"

namespace larkspur {

enum class ExportEnd {
  kDone,
  kStopped,
  kTargetExists,
  kCannotCreate,  // systemError
  kWriteFailed,   // systemError
  kCacheFailed,   // the cache could not give what it holds
};

struct ExportResult {
  ExportEnd end = ExportEnd::kDone;
  u32 systemError = 0;
  StatusCounts counts;
};

// Told how many sectors of the image are done.
using ExportMonitor = std::function<void(u64 sectorsDone)>;

// Writes the image to a new file at `path`; unreadable and missing sectors and runs of zeros stay
// holes. An existing file is replaced only with `replace`. A file that was not finished stays.
ExportResult ExportRaw(cKVRSparseIO* image, const std::u16string& path, bool replace,
                       const std::atomic<bool>& stop, const ExportMonitor& monitor);

}  // namespace larkspur
