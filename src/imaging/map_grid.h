// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A map of an image as a grid of cells, each a run of sectors: what all its pictures are drawn
// from.

#include <vector>

#include "imaging/summary.h"

namespace larkspur {

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

}  // namespace larkspur
