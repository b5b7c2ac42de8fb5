// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// LUKS headers (LUKS On-Disk Format 1.2.3, LUKS2 On-Disk Format 1.1).
//
// Version 1, big-endian:
//   0    6   "LUKS" BA BE
//   6    2   version
//   8    32  cipher, 40 32 mode, 72 32 hash
//   104  4   payload offset (sectors), 108 4 key length (bytes)
//   168  40  UUID
//   208      8 key slots of 48 bytes: 0 u32 state, 40 u32 first sector of the key material
// Version 2: 8 u64 length of the header with its JSON area, 168 40 UUID; 4096 the JSON text.
//
// What lies after a header is encrypted, so it gets no node of its own: the record says where it
// begins.

#include "partitions/format.h"

namespace larkspur {

bool ProbeLuks(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseLuks(Scan& scan, cPartTreeItem& node);

using cLUKSPartParser = FormatParser<kParserLUKS, ParseLuks>;

inline constexpr Format kLuksFormat{
    "cLUKSPartParser",           "LUKS header", kParserLUKS, true, ProbeLuks,
    MakeParser<cLUKSPartParser>, ParseLuks};

}  // namespace larkspur
