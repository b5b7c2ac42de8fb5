// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Finding what the user named by its place in the partition tree.

#include <string>

#include "base/exit_status.h"
#include "io/sector_range.h"

namespace larkspur {
class cBaseIO;
}

namespace larkspur::cli {

// kExitDone with the sectors that the partition at `place` covers, cut at the storage's end;
// otherwise the user has been told. `name` is the storage's, for messages.
ExitStatus FindPartition(cBaseIO* storage, const std::string& name, const std::string& place,
                         SectorRange* range);

}  // namespace larkspur::cli
