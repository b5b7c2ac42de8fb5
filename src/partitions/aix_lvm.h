// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Physical volumes of AIX's volume manager, volume groups of the original kind.
//
// Big-endian. Sector 0 begins with C9 C2 D4 C1. Sector 7:
//   0   4   "_LVM"
//   4   16  volume-group id
//   24  4   sectors of a descriptor area, 28 4 and 32 4 the sectors where its two copies begin
//   46  2   size of a physical partition, as the power of two of its bytes
//   60  2   version
// Descriptor area:
//   sector 0        30 u16 number of physical volumes
//   sectors 1..16   256 logical volumes of 32 bytes: 14 u16 number of logical partitions
//   sector 17       16 u16 number of physical partitions, 20 u32 sector of the first;
//                   from 32 on 32 bytes for each: 0 u16 logical volume (from 1), 6 u16 logical
//                   partition (from 1)
//   33 sectors before its end: 256 names of 64 bytes
// Source: Linux block/partitions/aix.c. The areas of big and scalable groups were never described,
// nor where a group of several volumes keeps the table of the others: only the first is read.

#include "partitions/format.h"

namespace larkspur {

bool ProbeAixLvm(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseAixLvm(Scan& scan, cPartTreeItem& node);

using cAIXLVMPartParser = FormatParser<kParserAIXLVM, ParseAixLvm>;

inline constexpr Format kAixLvmFormat{
    "cAIXLVMPartParser", "AIX LVM physical volume",     kParserAIXLVM, false,
    ProbeAixLvm,         MakeParser<cAIXLVMPartParser>, ParseAixLvm};

}  // namespace larkspur
