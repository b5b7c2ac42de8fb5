// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Traditional NetWare partitions: a redirection area, and after it the data area with the segments
// of volumes.
//
// Redirection record, in sector 32, 64, 96 or 128, little-endian:
//   0  8  "HOTFIX00"
//   8  4  partition id
//   20 4  sectors of the data area, 24 4 sectors of the redirection area
// Segment table, at the same number of sectors after the redirection area:
//   0  16  "NetWare Volumes"
//   16 4   number of entries, at most 8
//   32     entries of 60 bytes: 0 length of the name and its characters (16), 20 u8 cluster code,
//          21 u8 segments of the volume, 22 u8 index of this one, 24 u32 first sector of the data
//          area, 28 u32 sectors
//
// Some descriptions give the redirection area's size 64 bits. On disks the upper half belongs to a
// table pointer, so a size of 32 bits is tried when that of 64 leads nowhere.

#include "partitions/format.h"

namespace larkspur {

bool ProbeNetWare(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseNetWare(Scan& scan, cPartTreeItem& node);

using cNWPartParser = FlaggedFormatParser<kParserNW, ParseNetWare>;

inline constexpr Format kNetWareFormat{
    "cNWPartParser", "NetWare partition",       kParserNW,   true,
    ProbeNetWare,    MakeParser<cNWPartParser>, ParseNetWare};

}  // namespace larkspur
