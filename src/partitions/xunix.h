// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The division table of the XENIX family, in sector 42 of a partition.
//
// Little-endian:
//   0  2   magic 0x1234
//   2      8 divisions of 8 bytes: i32 start, i32 size, in blocks of 1024 bytes
// Division 7 is the whole area and starts at 0. Divisions count from an area that begins after the
// boot blocks, at a place that the table does not hold: it is what division 7 leaves of the
// partition.

#include "partitions/format.h"

namespace larkspur {

bool ProbeXUnix(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseXUnix(Scan& scan, cPartTreeItem& node);

using cXUnixParser = FormatParser<kParserXUnix, ParseXUnix>;

inline constexpr Format kXUnixFormat{"cXUnixParser", "XENIX division table",   kParserXUnix, true,
                                     ProbeXUnix,     MakeParser<cXUnixParser>, ParseXUnix};

}  // namespace larkspur
