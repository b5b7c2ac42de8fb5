// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The set of sectors that is wanted of a source.

#include <string>

#include "imaging/mapfile.h"
#include "rescue/extent_set.h"

namespace larkspur {

enum class DomainAnswer { kRead, kCannotRead, kWrong };

struct MapfileDomain {
  DomainAnswer answer = DomainAnswer::kCannotRead;
  u32 systemError = 0;
  MapfileFault fault;  // where the mapfile is wrong
  ExtentSet extents;   // the areas marked '+', widened to whole sectors
};

// Reads the domain from a GNU ddrescue mapfile: what it marks as finished.
MapfileDomain ReadDomain(const std::u16string& mapfile);

}  // namespace larkspur
