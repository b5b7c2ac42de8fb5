// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The counts of a cache, all in sectors unless said.

#include "io/kvr_sparse_io.h"
#include "io/status_counts.h"

namespace larkspur {

// The word for a status, for programs and people.
const char* StatusName(SectorStatus status);

// Counts [first, first+count) of the image.
StatusCounts CountStatuses(cKVRSparseIO* image, u64 first, u64 count);

}  // namespace larkspur
