// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The storages that can be read once, as rows of a list. The objects may be a host's, of any class:
// nothing but their operations is used, and nothing that they answer is trusted.

#include <span>
#include <string>
#include <vector>

#include "io/base_io.h"

namespace larkspur {

struct SourceRow {
  std::u16string text;
  cBaseIO* storage;  // not owned
};

// The storage's description, its name (for drives: the serial) beside it where it adds something.
// One that has neither is told by its place in the list, from 1, and its size.
std::u16string StorageText(cBaseIO* storage, size_t place);

// A row for each storage, in their order, but for null ones and those that are read once already.
std::vector<SourceRow> SourceRows(std::span<cBaseIO* const> storages);

}  // namespace larkspur
