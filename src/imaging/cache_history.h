// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the rescue log beside a cache says of the cache itself, for those who resume and for those
// who only look.

#include <optional>
#include <string>

#include "base/result.h"
#include "io/kvr_sparse_io.h"
#include "rescue/rescue_history.h"

namespace larkspur {

// What the log tells of the cache at `cachePath`. Empty, but for its first wrong line, where there
// is none, or where it is that of another cache of the same name. Fails with the system's error
// where there is a log and it cannot be read.
Result<RescueHistory, u32> HistoryOf(const std::u16string& cachePath, const SparseLayout& layout);

// Whether what was being stored (history.storing) may never have reached the disk: flushing failed,
// or the machine was switched off, or the cache's medium was away, before it was done.
bool IsStoringInDoubt(const RescueHistory& history, const std::u16string& cachePath);

// The present sectors of `areas` that are nothing but zeros; none when the cache cannot be read.
std::optional<ExtentSet> ZerosIn(cKVRSparseIO* image, const ExtentSet& areas);

// Makes them missing again: they may never have reached the disk. Answers how many there were; none
// when the cache cannot be read or changed.
std::optional<u64> DisbelieveZeros(cKVRSparseIO* image, const ExtentSet& areas);

}  // namespace larkspur
