// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Solaris' volume table of contents, in its two unrelated forms.
//
// x86, sector 1, little-endian:
//   12   4  sanity 0x600DDEEE
//   30   2  number of slices
//   72      16 slices of 12 bytes: u16 tag, u16 flags, u32 start, u32 size (sectors)
//   508  2  magic 0xDABE
// SPARC, sector 0, big-endian:
//   140  2  number of slices
//   142     8 pairs of u16 tag, u16 flags
//   188  4  sanity
//   436  2  heads, 438 2 sectors per track
//   444     8 pairs of u32 start cylinder, u32 size (sectors)
//   508  2  magic 0xDABE, 510 2 checksum (the XOR of all 16-bit words is 0)
// Sources: illumos sys/dklabel.h and sys/vtoc.h.

#include "partitions/format.h"

namespace larkspur {

bool ProbeSolaris(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseSolaris(Scan& scan, cPartTreeItem& node);

using cSolPartParser = FlaggedFormatParser<kParserSol, ParseSolaris>;

inline constexpr Format kSolarisFormat{
    "cSolPartParser", "Solaris volume table of contents", kParserSol,  true,
    ProbeSolaris,     MakeParser<cSolPartParser>,         ParseSolaris};

}  // namespace larkspur
