// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Pictures of what a cache holds: status by colour, with a legend. Present is blue, unreadable red,
// missing grey: three colours that colour-blind people tell apart, too.

#include <string>
#include <vector>

#include "imaging/png_writer.h"
#include "imaging/summary.h"

namespace larkspur {

// A map of an image as a grid of cells, each a run of sectors: what all its pictures are drawn
// from.
struct MapGrid {
  u64 sectors = 0;
  u64 sectorsPerCell = 1;  // the last cell may hold fewer
  StatusCounts totals;
  std::vector<StatusCounts> cells;
};

// Counts the image into at most `maxCells` cells; a cell is a power of two of sectors.
MapGrid MakeMapGrid(cKVRSparseIO* image, u64 maxCells);

// How a cell is drawn. One unreadable sector makes its cell stand out, however large the cell is;
// otherwise `shade` says how much of it is present, from 0 to 255; what is partly present is seen
// to be neither.
struct CellLook {
  bool unreadable;
  u8 shade;
};
CellLook LookOf(const StatusCounts& cell);

// The colour of a cell.
Colour ColourOf(const StatusCounts& cell);

// The bytes of a PNG file; empty without memory. `title` is UTF-8.
std::string DrawMapPng(cKVRSparseIO* image, const std::string& title);

// The text of an SVG file.
std::string DrawMapSvg(cKVRSparseIO* image, const std::string& title);

}  // namespace larkspur
