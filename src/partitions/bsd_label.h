// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// BSD disk labels.
//
// In sector 1 or 0, little-endian:
//   0    4  magic, again at 132
//   40   4  bytes per sector, the unit of the entries
//   112  4  (OpenBSD) u16 high part of the size, u16 version
//   138  2  number of entries
//   148     entries of 16 bytes: 0 u32 size, 4 u32 offset, 12 u8 file-system type;
//           in OpenBSD's version 1: 8 u16 high part of offset, 10 u16 high part of size
// Sources: FreeBSD sys/disk/bsd.h, OpenBSD sys/disklabel.h.

#include "partitions/format.h"

namespace larkspur {

bool ProbeBsdLabel(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseBsdLabel(Scan& scan, cPartTreeItem& node);

using cBSDPartParser = FormatParser<kParserBSD, ParseBsdLabel>;

inline constexpr Format kBsdLabelFormat{
    "cBSDPartParser", "BSD disk label",           kParserBSD,   true,
    ProbeBsdLabel,    MakeParser<cBSDPartParser>, ParseBsdLabel};

}  // namespace larkspur
