// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a scan that built a tree can tell beside it (notes.h), taken when the tree is complete.

#include "partitions/notes.h"
#include "partitions/scan.h"

namespace larkspur {

void TakeNotes(Scan& scan, const cPartTreeItem& root, TreeNotes& notes);

}  // namespace larkspur
