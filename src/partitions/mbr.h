// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Master boot records with their chains of extended boot records, and the FAT and NTFS boot sectors
// that stand in their place.
//
// Boot sector, 512 bytes, little-endian:
//   3    8   OEM name, "NTFS    "
//   54   5   "FAT12", "FAT16"
//   82   6   "FAT32", "TFAT32"
//   446  64  four entries: 0 status, 4 type, 8 u32 start, 12 u32 count
//   510  2   signature
// An extended boot record has the same shape: entry 0 is the logical drive, relative to the record
// itself, entry 1 the link to the next record, relative to the extended partition.

#include "partitions/format.h"

namespace larkspur {

bool ProbeMbr(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseMbr(Scan& scan, cPartTreeItem& node);

using cMbrPartParser = FormatParser<kParserMbr, ParseMbr>;

inline constexpr Format kMbrFormat{"cMbrPartParser", "MBR partition table",      kParserMbr, false,
                                   ProbeMbr,         MakeParser<cMbrPartParser>, ParseMbr};

}  // namespace larkspur
