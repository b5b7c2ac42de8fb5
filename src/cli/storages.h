// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening what the user named, with words for everything that may be wrong with it.

#include <optional>

#include "cli/commands.h"
#include "imaging/cache.h"
#include "imaging/reader.h"
#include "imaging/source.h"

namespace larkspur::cli {

// None when something is wrong; the user has been told.
std::optional<Cache> OpenCacheToLook(const std::string& path);

// A source alone; none when something is wrong, and then the user has been told.
std::optional<Source> OpenSourceOrTell(const SourceOptions& options);

// A source with its cache, opened for reading once.
struct Pair {
  Source source;
  Cache cache;
  u64 first = 0;
  u64 count = 0;
};
// kExitDone, and then *pair is filled; otherwise the user has been told.
ExitStatus OpenPair(const SourceOptions& options, Pair* pair);

// Why a device or file could not be opened for reading, with what to do about it.
std::string CannotOpenWords(const std::string& name, unsigned systemError);

// Says that `name`, the cache, could not be opened.
void TellCacheAnswer(const std::string& name, const Cache& cache, u64 sourceSectors);

// Says why reading ended early, and answers the exit status for it.
ExitStatus TellReadEnd(ReadEnd end, unsigned systemError, const SourceOptions& options);

}  // namespace larkspur::cli
