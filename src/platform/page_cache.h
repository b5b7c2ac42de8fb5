// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

namespace larkspur::platform {

// Makes the system forget what it holds of the file in memory, so that reads come from the disk.
// REQUIRES: everything that was written has been flushed. Does nothing where the system does not
// offer that.
void DropCachedPages(const char16_t* path);

}  // namespace larkspur::platform
