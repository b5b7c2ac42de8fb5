// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Gathers what a report tells, from a cache and the rescue log beside it.

#include "imaging/report.h"

namespace larkspur::cli {

// All but the files. `cache` is the image's path.
ReportFacts GatherFacts(const std::string& cache, cKVRSparseIO* image);

struct GatheredFiles {
  ReportFiles files;
  u64 unknown = 0;  // of so many sectors that were needed nothing is known
};

// The files on the image. Ends early when the user wants to stop.
GatheredFiles GatherFiles(cKVRSparseIO* image);

}  // namespace larkspur::cli
