// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The process-wide table of named locks, one for each image path. Images look their path up at
// every transfer, which makes the entry, but do not enter the lock: what guards a file is in
// io/shared_file.h.

#include <string_view>

#include "base/critical_section.h"

namespace larkspur {

// The section of `path`, made on the first call; lives as long as the process. Null without memory.
cCriticalSection* FindPathLock(std::u16string_view path);

// Frees this table and that of shared files, for a module that leaves its host. REQUIRES: no image
// is left, and none is made afterwards.
void ReleasePathLocks();

}  // namespace larkspur
