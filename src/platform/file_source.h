// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What reading a regular file from a failing disk needs beyond platform/file.h.

#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::platform {

// Opens the same file once more for reading, past the system's cache: offsets and lengths are whole
// units then, buffers begin at a page. kNoFile where the system does not offer that.
FileHandle OpenPastCache(FileHandle file);

// The smallest such unit, as far as the system tells without reading: 512 or more.
u32 UnitPastCache(FileHandle file);

// What it means that a read of the file failed with `code` (0: it came out short without one).
// `bytes` is what the file had when it was opened. Asks the system, never the disk: the file has
// gone only where that says so.
FailureKind KindOfFileFailure(u32 code, FileHandle file, u64 bytes);

}  // namespace larkspur::platform
