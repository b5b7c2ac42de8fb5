// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Disks of Snap appliances: a BSD label whose second magic lies 112 bytes later than usual.
//
//   0    4  magic, again at 244
//   250  2  number of entries
//   260     entries of 16 bytes as in a BSD label
// No description of this layout was published. The places after the second magic are inferred from
// a BSD label's, and trusted only when the label's own checksum (the XOR of all its 16-bit words is
// 0) and its entries agree.

#include "partitions/format.h"

namespace larkspur {

bool ProbeSnap(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseSnap(Scan& scan, cPartTreeItem& node);

using cSnapPartParser = FormatParser<kParserSnap, ParseSnap>;

inline constexpr Format kSnapFormat{
    "cSnapPartParser", "Snap appliance disk",       kParserSnap, false,
    ProbeSnap,         MakeParser<cSnapPartParser>, ParseSnap};

}  // namespace larkspur
