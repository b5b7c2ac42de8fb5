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

#include "base/types.h"
#include "io/failing_io.h"
#include "rescue/extent_set.h"

namespace larkspur {

// What is wrong with a mapfile, and in which line (from 1; 0 when it could not be read at all).
struct MapfileFault {
  u32 line = 0;
  std::string detail;
};

struct MapfileBlock {
  u64 position;  // bytes
  u64 size;      // bytes
  char status;   // '?' non-tried, '*' non-trimmed, '/' non-scraped, '-' bad sector, '+' finished
};

// Mapfiles of a few million areas fit; a longer file is none.
constexpr u64 kMaxMapfileBytes = u64{256} << 20;

// Reads a mapfile into blocks in order; false with the fault on the first line that is wrong.
bool ParseMapfile(std::istream& in, std::vector<MapfileBlock>* blocks, MapfileFault* fault);

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
