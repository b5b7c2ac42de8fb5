// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Partition trees as short text, a line for each node:
//
//   0+204800 32764 "[unknown]" mbr
//     63+96327 5 "Extended"
//       126+2048 7 "NTFS" {offset 63}
//
// that is start+length, type code, name, the parser's class without "c" and "PartParser" in lower
// case, and the records.

#include <string>
#include <vector>

#include "io/base_io.h"
#include "partitions/part_tree_item.h"

namespace larkspur::fakes {

// The node with all below it.
std::string TreeText(const cPartTreeItem* node);

// The whole tree of the storage; with "(false)" as its last line when building it answered so.
std::string TreeText(cBaseIO* io);

// A storage of `bytes` (padded to whole sectors) in memory, and its tree.
std::string TreeText(std::vector<u8> bytes);

}  // namespace larkspur::fakes
