// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Whether a cache would lie on the very disk that is to be read.

#include <string>
#include <string_view>

#include "io/base_io.h"

namespace larkspur {

// The device that a drive's description begins with: "Drive1: ..." is \\.\PhysicalDrive1,
// "Drive C: ..." is \\.\C:. Empty where the description begins with no such name.
std::u16string DeviceOfDescription(std::u16string_view description);

// False where the system does not tell; of a storage of any class, its description is all that is
// known of the disk that it reads.
bool IsOnDiskOf(cBaseIO* source, const std::u16string& cachePath);

}  // namespace larkspur
