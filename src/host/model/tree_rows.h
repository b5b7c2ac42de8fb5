// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A partition tree as rows, read as data at the places that the contract fixes: the tree may be
// that of a module that another compiler built, so nothing after those fields is touched, and of
// a record's operations only those that every module has.

#include <string>
#include <vector>

#include "partitions/notes.h"
#include "partitions/tree_item.h"

namespace larkspur::host {

struct TreeRow {
  u32 level = 0;   // 0 for the whole storage
  u64 start = 0;   // sectors
  u64 length = 0;  // sectors
  u16 type = 0;
  std::u16string name;
  std::u16string facts;  // of its records and notes: volume sets, odd starts, contents
};

// The rows from the top down, children after their parent. A tree deeper or longer than any real
// one, or one that leads back into itself, is cut. `notes` are those of a tree of our own.
std::vector<TreeRow> TreeRows(const cTreeItem* head, const TreeNotes& notes = {});

// Whether there is more than the storage itself, of which nothing is known.
bool IsAnythingKnown(const std::vector<TreeRow>& rows);

// The rows as a table, for people; lines end in "\n".
std::string TreeText(const std::vector<TreeRow>& rows);

}  // namespace larkspur::host
