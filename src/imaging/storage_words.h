// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Why what a user named cannot be used, in the words of every face.

#include <string>

#include "imaging/cache.h"
#include "imaging/mapfile.h"
#include "imaging/source.h"

namespace larkspur {

// To stand after the name of a file or device: it begins in lower case, and ends without a full
// stop. What the system said follows it, unless that is 0.
struct FaultWords {
  std::string text;
  u32 systemError = 0;
};

// Why a device or file could not be opened for reading, with what to do about it.
FaultWords CannotOpenWords(u32 systemError);

FaultWords MapfileWords(const MapfileFault& fault);

// Of the source at `path`; for kMapfile, of its mapfile.
FaultWords SourceWords(const std::u16string& path, const SourceFault& fault);

// Of a cache, for a source of so many sectors where there is one; for kLogUnreadable, of its log.
FaultWords CacheWords(const CacheFault& fault, u64 sourceSectors = 0);

}  // namespace larkspur
