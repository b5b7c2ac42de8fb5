// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What `larkspur image` is to read.

#include "cli/commands.h"
#include "cli/rescue.h"

namespace larkspur::cli {

// What is wanted by all options that limit it. Partition tables and what tells about files are read
// through the cache. Where that fails, the run is over, and the user has been told.
Result<ExtentSet, ExitStatus> MakeDomain(Rescue* rescue, const ImageOptions& options);

}  // namespace larkspur::cli
