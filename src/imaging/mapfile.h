// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// GNU ddrescue mapfiles: which bytes of a disk were read, and which were not.
// Format: the "Mapfile structure" chapter of the ddrescue manual. Positions and sizes are bytes,
// decimal, 0x hexadecimal or 0 octal.

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "base/types.h"
#include "io/failing_io.h"
#include "rescue/extent_set.h"

namespace larkspur {

struct MapfileBlock {
  u64 position;  // bytes
  u64 size;      // bytes
  char status;   // '?' non-tried, '*' non-trimmed, '/' non-scraped, '-' bad sector, '+' finished
};

// Mapfiles of a few million areas fit; a longer file is none.
constexpr u64 kMaxMapfileBytes = u64{256} << 20;

struct MapfileFault {
  std::string detail = {};  // what is wrong with it; empty when the file cannot be read
  u32 line = 0;             // where, from 1; 0 when it has no line that says anything
  u32 systemError = 0;      // why the file cannot be read; 0 when it is too long
};

// Reads a mapfile into blocks in order.
Result<std::vector<MapfileBlock>, MapfileFault> ParseMapfile(std::istream& in);
Result<std::vector<MapfileBlock>, MapfileFault> ReadMapfile(const std::u16string& path);

// The areas that a mapfile marks '+', widened to whole sectors.
Result<ExtentSet, MapfileFault> ReadDomain(const std::u16string& path);

// The sectors that lie wholly in blocks with one of these statuses, neighbours joined.
std::vector<SectorRange> SectorsMarked(const std::vector<MapfileBlock>& blocks,
                                       std::string_view statuses);

inline std::vector<SectorRange> FinishedSectors(const std::vector<MapfileBlock>& blocks) {
  return SectorsMarked(blocks, "+");
}

// Writes a mapfile block by block.
class MapfileWriter {
 public:
  // `complete` says whether any sector is still missing, for the file's status line.
  MapfileWriter(std::ostream& out, bool complete);
  void Add(u64 firstSector, u64 sectors, char status);

 private:
  std::ostream& m_out;
};

}  // namespace larkspur
