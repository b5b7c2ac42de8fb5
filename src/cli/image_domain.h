// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What `larkspur image` is to read.

#include "cli/commands.h"
#include "cli/rescue.h"

namespace larkspur::cli {

// Adds what is wanted by all options that limit it to `domain`. Partition tables and what tells
// about files are read through the cache. Otherwise than with kExitDone the run is over, and the
// user has been told.
ExitStatus MakeDomain(Rescue* rescue, const ImageOptions& options, ExtentSet* domain);

}  // namespace larkspur::cli
