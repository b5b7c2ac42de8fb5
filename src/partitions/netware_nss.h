// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Partitions of NetWare's Storage Services.
//
// Sector 0, little-endian:
//   1   12  "Nw_PaRtItIoN" (by some descriptions at 0)
// Superblock of a pool, in sector 8, when the pool begins with the partition:
//   0   4   "SPB5"
//   196 8   blocks of 4096 bytes, 204 128 name (UTF-16)
// How one partition is cut into several pool segments was never published: without a superblock in
// sector 8 there are no children. Source of the superblock: util-linux.

#include "partitions/format.h"

namespace larkspur {

bool ProbeNetWareNss(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseNetWareNss(Scan& scan, cPartTreeItem& node);

using cNWNSSPartParser = FlaggedFormatParser<kParserNWNSS, ParseNetWareNss>;

inline constexpr Format kNetWareNssFormat{
    "cNWNSSPartParser", "NetWare NSS partition",      kParserNWNSS,   true,
    ProbeNetWareNss,    MakeParser<cNWNSSPartParser>, ParseNetWareNss};

}  // namespace larkspur
