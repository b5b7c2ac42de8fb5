// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Members of Linux MD software RAID.
//
// The superblock lies in sector 8 (version 1.2), in sector 0 (1.1), 8 to 16 sectors before the end
// (1.0) or 64 to 128 KiB before the end (0.90, in the byte order of its writer).
//
// 1.x, little-endian:                           0.90, words of 32 bits:
//   0    4    magic 0xA92B4EFC                    0    magic       1  major = 0     2  minor
//   4    4    major = 1                           5, 13 to 15      set UUID
//   16   16   set UUID, 32 32 set name            7    level       8  KiB of each member
//   72   4    level, 76 4 layout                  10   devices
//   80   8    sectors used of each member         64   layout      65 chunk (bytes)
//   88   4    chunk (sectors), 92 4 devices       995  this device's role
//   128  8    first data sector, 136 8 their number
//   144  8    sector of the superblock
//   160  4    device number, 220 4 number of roles, 256 u16 roles
// Sources: Linux uapi/linux/raid/md_p.h; md(4).

#include "partitions/format.h"

namespace larkspur {

bool ProbeMdRaid(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseMdRaid(Scan& scan, cPartTreeItem& node);

using cMDADMPartParser = FormatParser<kParserMDADM, ParseMdRaid>;

inline constexpr Format kMdRaidFormat{
    "cMDADMPartParser", "Linux MD RAID member",       kParserMDADM, false,
    ProbeMdRaid,        MakeParser<cMDADMPartParser>, ParseMdRaid};

}  // namespace larkspur
