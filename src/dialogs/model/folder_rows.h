// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rows of a folder list: which entries are shown, what their columns say, and their order.

#include <string>
#include <string_view>
#include <vector>

#include "platform/folders.h"

namespace larkspur {

enum class FolderColumn { kName, kDate, kType, kSize };

struct TypeWords {
  std::u16string folder;
  std::u16string file;
};

std::u16string ColumnText(const platform::FolderEntry& entry, FolderColumn column,
                          const TypeWords& words);

// Below, at and above zero as `one` stands before, with or after `other`: numbers in names by their
// size, so that "file10" follows "file2", the rest in the order of the user's language. Letter case
// counts only where nothing else tells them apart.
int CompareNames(std::u16string_view one, std::u16string_view other);

// The same for entries in the order of a column: folders before files, and equal ones by their
// names.
int CompareEntries(const platform::FolderEntry& one, const platform::FolderEntry& other,
                   FolderColumn column);

// Whether a name fits a filter's pattern: "*" and "?" as everywhere, several patterns with ";"
// between them. Letter case does not count, and "*.*" fits names without a dot as well.
bool FitsPattern(std::u16string_view name, std::u16string_view patterns);

// Folders always, files when their name fits.
bool IsShown(const platform::FolderEntry& entry, std::u16string_view patterns);

}  // namespace larkspur
