// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A partition tree as people and as programs read it.

#include "cli/output.h"
#include "partitions/part_tree_item.h"

namespace larkspur::cli {

// A table with a line for each node, indented by its level, with its place.
std::string TreeTable(const cPartTreeItem& root);

// The node, whose place that is, and all below it.
Json TreeJson(const cPartTreeItem& node, const std::string& place = {});

}  // namespace larkspur::cli
