// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Physical volumes of LVM2 (the structures as LVM2's own layout headers name them).
//
// Little-endian, positions in bytes from the start of the physical volume.
//
// Label, one of the first four sectors:
//   0   8   "LABELONE"
//   8   8   this sector's number
//   16  4   CRC of the bytes from 20 on
//   20  4   where in this sector the header stands
//   24  8   "LVM2 001"
// Header:
//   0   32  identifier
//   32  8   size
//   40  -   data areas: u64 position, u64 size; position 0 ends the list
//       -   metadata areas, likewise
// Metadata area, its first sector:
//   0   4   CRC of the bytes from 4 on
//   4   16  magic
//   24  8   position of this area
//   32  8   its size
//   40  24  the text: u64 position in the area, u64 size, u32 CRC, u32 flags
// The rest of the area is a ring: a text that reaches its end continues past the first sector.

#include "partitions/format.h"

namespace larkspur {

bool ProbeLvm2(Scan& scan, const cPartTreeItem& node, NodeFront front);
// Gives the node a child for each piece of a logical volume, with the set that it is part of.
bool ParseLvm2(Scan& scan, cPartTreeItem& node);

using cLVMPartParser = FormatParser<kParserLVM, ParseLvm2>;

inline constexpr Format kLvm2Format{"cLVMPartParser", "LVM2 physical volume",     kParserLVM, true,
                                    ProbeLvm2,        MakeParser<cLVMPartParser>, ParseLvm2};

}  // namespace larkspur
