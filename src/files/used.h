// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Which sectors of a volume are in use, as its file system tells.

#include "files/walk.h"
#include "rescue/extent_set.h"

namespace larkspur {

// Adds to `used` what the file system on [volume.first, volume.first+volume.count) uses, and what
// it does not say is free: the whole volume when none is recognised, or its walk failed. The rest
// is only what the walk read. For kStopped and kUnavailable `used` means nothing.
WalkEnd AddUsed(WalkedStorage* storage, SectorRange volume, const std::atomic<bool>& stop,
                ExtentSet* used);

}  // namespace larkspur
