// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// From a source and the path of its cache to the read-once storage over both. An existing cache is
// resumed, a new one is made, and any other file is left as it is. The storage and its clones keep
// other runs away from the cache while they live.

#include <string>

#include "base/owned.h"
#include "io/read_once_io.h"

namespace larkspur {

enum class DefineAnswer {
  kDefined,
  kSourceMissing,
  kPathMissing,
  kLockedElsewhere,  // another storage or run is working on the cache
  kWrongSize,        // the cache was made of a storage with another sector count
  kCacheFailed,      // every other failure of the cache
  kNotAttached,      // the source gave no clone of itself
};

struct Defined {
  DefineAnswer answer = DefineAnswer::kNotAttached;
  Owned<cReadOnceIO> storage;  // when defined
};

// `source` may be of any class and stays the caller's; null when none is chosen. The path may be
// relative. A cache file that
// was made here and is of no use then is removed again.
Defined DefineStorage(cBaseIO* source, const std::u16string& cachePath);

}  // namespace larkspur
