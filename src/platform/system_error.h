// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the system said when one of this seam's operations last failed on this thread. It is taken
// at the failing call, so that no clean-up can overwrite it.

#include <string>

#include "base/types.h"

namespace larkspur::platform {

// The system's own error number (errno, or GetLastError) of this thread's last failure; 0 when
// nothing failed yet or it was cleared.
u32 LastFailure();

// Keeps `code` as this thread's last failure; 0 clears it.
void SetLastFailure(u32 code);

// The system's words for an error number, in UTF-8, without a line end.
std::string FailureText(u32 code);

// Whether `code` says that a disk or a quota is full.
bool IsDiskFull(u32 code);

}  // namespace larkspur::platform
