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

enum class FailureKind : u8 {
  kNone,       // nothing failed
  kMedium,     // the drive says that it cannot read these sectors; a drive that says so is alive
  kTransport,  // cable, bridge, time-out, reset: on the way to the drive
  kGone,       // the device, or the one below it, is no longer there or has no medium
  kSystem,     // no memory, no handle, no permission: on this machine
  kUnclear,    // the system says no more than "error"
};

// The kind that the system's error number `code` of a failed read or open says by itself.
FailureKind KindOfFailure(u32 code);

// Whether the number says that a request was interrupted before anything was asked.
bool IsInterrupted(u32 code);
// Whether it says that the system, a driver or the device does not take requests of this form, or
// not from this user: nothing was asked.
bool IsFormRefused(u32 code);

}  // namespace larkspur::platform
