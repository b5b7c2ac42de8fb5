// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A partition tree as people and as programs read it.

#include "cli/output.h"
#include "partitions/notes.h"
#include "partitions/part_tree_item.h"

namespace larkspur::cli {

// A table with a line for each node, indented by its level, with its place and what is noted of it.
std::string TreeTable(const cPartTreeItem& root, const TreeNotes& notes = {});

// The node, whose place that is, and all below it.
Json TreeJson(const cPartTreeItem& node, const TreeNotes& notes = {},
              const std::string& place = {});

}  // namespace larkspur::cli
