// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Whether a block device and all that it is built on are still there, by what /sys tells.

#include "platform/posix/sysfs.h"
#include "platform/system_error.h"

namespace larkspur::platform {

// kNone: it is there and has at least `bytes`. kTransport: the system is bringing its connection
// back. kGone: it, or what it is built on, is not there any more, has no medium, or has become
// smaller.
FailureKind StateOfBlock(const SysBlock& block, u64 bytes);

// The same of what holds an open file of at least `bytes`.
FailureKind StateOfFile(int file, u64 bytes);

}  // namespace larkspur::platform
