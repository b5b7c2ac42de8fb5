// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Pictures of what a cache holds: status by colour, with a legend. Present is blue, unreadable red,
// missing grey: three colours that colour-blind people tell apart, too.

#include <string>

#include "imaging/map_grid.h"
#include "imaging/png_writer.h"

namespace larkspur {

// The colour of a cell.
Colour ColourOf(const StatusCounts& cell);

// The bytes of a PNG file; empty without memory. `title` is UTF-8.
std::string DrawMapPng(cKVRSparseIO* image, const std::string& title);

// The text of an SVG file.
std::string DrawMapSvg(cKVRSparseIO* image, const std::string& title);

}  // namespace larkspur
