// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a node holds: the file system, volume or member that is found there by the table of
// content_rows.h; and what its type promises.

#include <optional>

#include "partitions/node_bytes.h"
#include "partitions/notes.h"

namespace larkspur {

// How far inside a node content is looked for.
enum class ContentReach : u8 {
  kUsual,
  kFar,  // and megabytes inside, where VMFS lies
};

// The first format of the table that is in the node; none when there is none. A node without a
// parent is a whole disk: there, all of them are looked for.
std::optional<ContentNote> FindContent(Scan& scan, const cPartTreeItem& node, ContentReach reach);

// The word for what a type code promises, and whether content of that name keeps the promise. Empty
// for types that promise nothing in particular.
std::string_view ExpectedContent(u16 type);
bool KeepsPromise(u16 type, std::string_view name);

}  // namespace larkspur
