// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening what the user named, with words for everything that may be wrong with it.

#include <functional>

#include "cli/commands.h"
#include "imaging/output_file.h"
#include "imaging/storage_words.h"
#include "rescue/rescue_log.h"

namespace larkspur::cli {

// Where opening fails, the user has been told.
Result<Cache, ExitStatus> OpenCacheToLook(const std::string& path);
Result<Source, ExitStatus> OpenSourceOrTell(const StorageOptions& options);

// Why no file system can be read, which `name` wanted; by the system's last failure.
std::string CannotWalkWords(const std::string& name);

// "name: what is wrong: what the system said".
std::string Failure(const std::string& name, const FaultWords& words);

// Says what is wrong with a cache that was shown nevertheless, and answers kExitFailed for it;
// `status` when nothing is. `unknown` counts the sectors whose status could not be read.
ExitStatus TellDamage(const std::string& name, const Cache& cache, u64 unknown, ExitStatus status);

// What is wrong with the cache `name` or its log, for a source of so many sectors where there is
// one.
std::string CacheFailure(const std::string& name, const CacheFault& fault, u64 sourceSectors = 0);

// What no output of a run may overwrite: the cache with its log, the file that it was made from,
// and others, of which some may be empty.
std::vector<std::u16string> FilesOf(const std::string& cache,
                                    std::initializer_list<std::string> others = {});

// Before anything is read for it: kExitDone when an output may be written there, as far as can be
// said; otherwise the user has been told.
ExitStatus JudgeOutputOrTell(const std::string& path, bool force,
                             const std::vector<std::u16string>& inputs);

// Makes the file at `path`, or with `force` replaces it, and writes what `make` answers; `inputs`
// are what the run works on. "-" is standard output. The user is told when that fails.
ExitStatus WriteFileOrTell(const std::string& path, bool force,
                           const std::vector<std::u16string>& inputs,
                           const std::function<std::string()>& make);

// Why nothing is logged for the cache `cache`.
std::string LogWords(const std::string& cache, LogFault fault);

// Why nothing is written to `name`.
std::string OutputWords(const std::string& name, const OutputFault& fault);

}  // namespace larkspur::cli
