// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// GUID partition tables (UEFI 2.10, chapter 5.3).
//
// Header, one logical sector, little-endian:
//   0   8  "EFI PART"
//   24  8  LBA of this header
//   72  8  LBA of the entry array
//   80  4  number of entries
//   84  4  bytes of an entry, 128
// Entry: 0 type GUID (all zero: unused), 32 u64 first LBA, 40 u64 last LBA.
//
// Everything is laid out relative to the header, so a table inside an image or a partition is read
// as well. Lengths are the difference of the two LBAs, one sector short of the inclusive range.

#include "partitions/format.h"
#include "partitions/gpt_table.h"

namespace larkspur {

bool ProbeGpt(Scan& scan, const cPartTreeItem& node, NodeFront front);
bool ParseGpt(Scan& scan, cPartTreeItem& node);
// Makes the children of a table that was read.
void AddGptPartitions(Scan& scan, cPartTreeItem& node, GptTable table);

using cGPTPartParser = FormatParser<kParserGPT, ParseGpt>;

inline constexpr Format kGptFormat{"cGPTPartParser", "GUID partition table",     kParserGPT, true,
                                   ProbeGpt,         MakeParser<cGPTPartParser>, ParseGpt};

}  // namespace larkspur
