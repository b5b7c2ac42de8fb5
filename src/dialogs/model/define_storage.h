// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// From a source and the path of its cache to the read-once storage over both. An existing cache is
// resumed, a new one is made, and any other file is left as it is. The storage and its clones keep
// other runs away from the cache while they live.

#include <string>
#include <string_view>

#include "base/owned.h"
#include "base/result.h"
#include "io/base_io.h"
#include "io/read_once_io.h"

namespace larkspur {

enum class DefineFault {
  kSourceMissing,
  kPathMissing,
  kLockedElsewhere,  // another storage or run is working on the cache
  kWrongSize,        // the cache was made of a storage with another sector count
  kCacheFailed,      // every other failure of the cache
  kNotAttached,      // the source gave no clone of itself
};

// `source` may be of any class and stays the caller's; null when none is chosen. The path may be
// relative. A cache file that was made here and is of no use then is removed again.
Result<Owned<cReadOnceIO>, DefineFault> DefineStorage(cBaseIO* source,
                                                      const std::u16string& cachePath);

// The device that a drive's description begins with: "Drive1: ..." is \\.\PhysicalDrive1,
// "Drive C: ..." is \\.\C:. Empty where the description begins with no such name.
std::u16string DeviceOfDescription(std::u16string_view description);

// Whether a cache would lie on the very disk that is to be read. False where the system does not
// tell; of a storage of any class, its description is all that is
// known of the disk that it reads.
bool IsOnDiskOf(cBaseIO* source, const std::u16string& cachePath);

}  // namespace larkspur
