// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/map_grid.h"

#include <algorithm>

namespace larkspur {

MapGrid MakeMapGrid(cKVRSparseIO* image, u64 maxCells) {
  MapGrid grid;
  grid.sectors = image->GetSectorCount();
  while ((grid.sectors - 1) / grid.sectorsPerCell >= maxCells) grid.sectorsPerCell *= 2;
  grid.cells.resize(static_cast<size_t>((grid.sectors - 1) / grid.sectorsPerCell + 1));
  image->VisitExtents(0, grid.sectors, [&grid](u64 start, u64 sectors, SectorStatus status) {
    grid.totals.Add(status, sectors);
    for (const u64 end = start + sectors; start < end;) {
      const u64 cell = start / grid.sectorsPerCell;
      const u64 cellEnd = std::min(end, (cell + 1) * grid.sectorsPerCell);
      grid.cells[static_cast<size_t>(cell)].Add(status, cellEnd - start);
      start = cellEnd;
    }
    return true;
  });
  return grid;
}

CellLook LookOf(const StatusCounts& cell) {
  // One sector of a million shows, present or missing.
  constexpr u64 kLeastPartly = 70, kMostPartly = 185, kWhole = 255;
  const u64 all = cell.present + cell.unreadable + cell.missing + cell.unknown;
  const u64 shade = cell.present == 0 ? 0
                    : cell.present == all
                        ? kWhole
                        : kLeastPartly + cell.present * (kMostPartly - kLeastPartly) / all;
  return {cell.unreadable > 0, static_cast<u8>(shade)};
}

}  // namespace larkspur
