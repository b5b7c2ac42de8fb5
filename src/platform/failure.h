// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a failed read means, as far as the system tells.

#include "base/types.h"

namespace larkspur::platform {

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
