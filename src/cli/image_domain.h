// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What `larkspur image` is to read.

#include "cli/commands.h"
#include "cli/rescue.h"

namespace larkspur::cli {

// What --domain selects; nothing without it. When the mapfile cannot be read, the user has been
// told.
Result<std::optional<ExtentSet>, ExitStatus> ReadChosen(const ImageOptions& options);

// What is wanted by `chosen` and all options that limit it. Partition tables and what tells about
// files are read through the cache. Where that fails, or nothing is wanted, the run is to be
// finished; the user has been told, but for why the run itself ended, which Finish tells.
Result<ExtentSet, ExitStatus> MakeDomain(Rescue* rescue, const ImageOptions& options,
                                         const std::optional<ExtentSet>& chosen);

}  // namespace larkspur::cli
