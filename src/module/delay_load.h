// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

namespace larkspur {

// Has the libraries that are loaded at their first call taken from the system's folder. The usual
// search begins where the host's program lies, often a folder of downloads in which anything may
// lie.
void LoadDelayedFromSystemFolder();

}  // namespace larkspur
