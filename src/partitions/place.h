// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Places: how people name a node of a partition tree. The nodes below the whole storage are "1",
// "2", ..., those below "2" are "2.1", "2.2" and so on; the whole storage's place is empty.

#include <optional>
#include <string>
#include <string_view>

#include "partitions/part_tree_item.h"

namespace larkspur {

// What a place covers, in sectors, with the length that the node's table gives: a partition of a
// GUID table has more than its node.
struct PlacedSectors {
  u64 start;
  u64 sectors;
};

// Whether the text has the form of a place that is not the whole storage's.
bool IsPlace(std::string_view text);

// The node at that place below `root`, the whole storage; null when the text is no place, or there
// is no such node.
const cPartTreeItem* FindNode(const cPartTreeItem& root, std::string_view place);

// What the node at that place covers. Nothing as above, when that is no sector, or when its end
// lies beyond 2^64. REQUIRES: BuildPartitionTree has built the tree.
std::optional<PlacedSectors> FindPlace(const cPartTreeItem& root, std::string_view place);

// The place of the `number`th child, counted from 1, of the node at `parent`.
std::string ChildPlace(std::string_view parent, size_t number);

}  // namespace larkspur
