// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The plots of a report, as SVG elements.

#include "imaging/report.h"

namespace larkspur {

// Good data over time. REQUIRES: points are in order of time; `sectors` is above 0.
std::string PlotGoodData(const std::vector<ReportPoint>& points, u64 sectors);

// How many failures there were, along the disk.
std::string PlotFailures(const std::vector<SectorRange>& failures, u64 sectors);

}  // namespace larkspur
