// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Members of Intel Matrix RAID.
//
// The metadata ends one logical sector before the storage's end. Its first sector, the anchor, is
// the last of it; the others lie before the anchor, in their order. Little-endian:
//   0    24  "Intel Raid ISM Cfg Sig. "
//   36   4   bytes of it all
//   40   4   family number, 64 4 that of the first creation
//   56   1   number of disks, 57 1 number of volumes
//   216      disks of 48 bytes: 0 serial (16), 16 u32 and 32 u32 low and high half of its blocks
//   then     volumes: 0 name (16), 40 u16 number, 88 u8 migration state, 112 the map; when
//            migrating, a second map follows
// Map: 0 u32 first block, 4 u32 blocks, 12 u16 blocks of a strip, 15 u8 level, 16 u8 members,
//   20 u32 and 24 u32 high halves of the first two, 48 u32 for each member: disk number (24 bits)
// Blocks are logical sectors. Source: mdadm's super-intel.c.
//
// The format belongs to a whole storage with a name, and is looked for beside whatever else the
// storage holds.

#include "partitions/format.h"

namespace larkspur {

bool ProbeIntelMatrix(Scan& scan, const cPartTreeItem& node);
bool ParseIntelMatrix(Scan& scan, cPartTreeItem& node);

using cIntelMatrixPartParser = FormatParser<kParserIntelMatrix, ParseIntelMatrix>;

// In no table: its place is before them all.
inline constexpr Format kIntelMatrixFormat{"cIntelMatrixPartParser",
                                           "Intel Matrix RAID member",
                                           kParserIntelMatrix,
                                           false,
                                           nullptr,
                                           MakeParser<cIntelMatrixPartParser>,
                                           ParseIntelMatrix};

}  // namespace larkspur
