// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Windows dynamic disks: what the Logical Disk Manager keeps of a disk group on each of its disks.
//
// All numbers are big-endian, all positions absolute sectors of the storage.
//
// Private header, one sector: on a disk with a master boot record sector 6, on a GPT disk near the
// end of the metadata partition.
//   0    8   "PRIVHEAD"
//   48   64  identifier of the disk, as text
//   283  8   logical disk: start
//   291  8   size
//   299  8   configuration: start
//   307  8   size
// In the configuration lie, at 2, the table of contents:
//   0    8   "TOCBLOCK"
//   36   6   "config", 46 u64 start, 54 u64 size of the region
//   70   3   "log", 80 u64 start, 88 u64 size of the region
// and at 17 the database, whose first sector counts its records (see ldm_database.h):
//   4    4   their number, those that this sector would hold included
//   8    4   bytes of one
//   12   4   byte at which the first stands

#include "partitions/format.h"
#include "partitions/ldm_database.h"
#include "partitions/part_records.h"

namespace larkspur {

// Whether the storage is a dynamic disk with a master boot record whose regions lie in the node.
// The disk of another kind, GPT, is known by the type of its metadata partition alone.
bool IsDynamicDisk(Scan& scan, const cPartTreeItem& node);

bool ProbeLdm(Scan& scan, const cPartTreeItem& node, NodeFront front);
// Whether the node's type says that a dynamic disk's database is there.
bool ProbeLdmType(Scan& scan, const cPartTreeItem& node, NodeFront front);
// Gives the node a child for each partition that volumes have on this disk. On a GPT disk these
// lie outside the node, which holds the database only.
bool ParseLdm(Scan& scan, cPartTreeItem& node);

// Names the record after the place where the volume was last mounted; without one it stays unnamed.
void FormatVolumeName(const LdmVolume& volume, cPartSoftRAIDInfo& record);

using cNTLDMPartParser = FlaggedFormatParser<kParserNTLDM, ParseLdm>;

inline constexpr Format kLdmFormat{
    "cNTLDMPartParser", "Windows dynamic disk",       kParserNTLDM, false,
    ProbeLdm,           MakeParser<cNTLDMPartParser>, ParseLdm};
inline constexpr Format kLdmTypeFormat{
    "cNTLDMPartParser", "Windows dynamic disk",       kParserNTLDM, false,
    ProbeLdmType,       MakeParser<cNTLDMPartParser>, ParseLdm};

}  // namespace larkspur
