// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Disks by the numbers that Windows gives them, those of "\\.\PhysicalDrive1".

#include <optional>
#include <set>
#include <string>

#include "base/types.h"

namespace larkspur::platform {

// Of the disk that a device is or lies on; none for what is no disk, or lies on several.
std::optional<u32> DiskNumber(const std::u16string& device);

// Of all disks with volumes that have a letter.
std::set<u32> MountedDisks();

}  // namespace larkspur::platform
