// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Apple partition maps.
//
// Block 0, big-endian: 0 "ER", 2 u16 bytes per block.
// From block 1 on, one entry a block:
//   0   2   "PM", or "TS" in the oldest
//   4   4   number of entries, as the first has it
//   8   4   first block, 12 4 number of blocks
//   16  32  name, 48 32 type
// Source: FreeBSD sys/disk/apm.h.

#include "partitions/format.h"

namespace larkspur {

bool ProbeAppleMap(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseAppleMap(Scan& scan, cPartTreeItem& node);

using cApplePartParser = FormatParser<kParserApple, ParseAppleMap>;

inline constexpr Format kAppleMapFormat{
    "cApplePartParser", "Apple partition map",        kParserApple, false,
    ProbeAppleMap,      MakeParser<cApplePartParser>, ParseAppleMap};

}  // namespace larkspur
