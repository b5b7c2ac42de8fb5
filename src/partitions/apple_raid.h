// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Members of Apple software RAID sets, version 2 (the layout as Apple's published driver and boot
// loader have it).
//
// Header, the last 4096 bytes of the member that begin at a multiple of as many:
//   0    16    "AppleRAIDHeader"
//   16   64    identifier of the set, as text
//   144  8     bytes of the data, which begin with the member
//   152  3944  property list (see property_list.h)

#include "partitions/format.h"

namespace larkspur {

bool ProbeAppleRaid(Scan& scan, const cPartTreeItem& node, NodeFront front);
// Gives the node its data area as a child, with the set that it is a member of.
bool ParseAppleRaid(Scan& scan, cPartTreeItem& node);

using cAppRAIDPartParser = FormatParser<kParserAppRAID, ParseAppleRaid>;

inline constexpr Format kAppleRaidFormat{
    "cAppRAIDPartParser",           "Apple RAID member", kParserAppRAID, false, ProbeAppleRaid,
    MakeParser<cAppRAIDPartParser>, ParseAppleRaid};

}  // namespace larkspur
