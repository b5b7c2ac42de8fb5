// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Finding what the user named by its place in the partition tree.

#include <string>

#include "base/exit_status.h"
#include "io/sector_range.h"

namespace larkspur {
class cBaseIO;
class Engine;
}  // namespace larkspur

namespace larkspur::cli {

// kExitDone with the sectors that the partition at `place` covers, cut at the storage's end;
// otherwise kExitFailed, and the user has been told. `name` is the storage's, for messages.
// `engine` is what the storage is read through, if anything: when it stopped on the way, why is for
// its owner to tell.
ExitStatus FindPartition(cBaseIO* storage, const std::string& name, const std::string& place,
                         SectorRange* range, const Engine* engine = nullptr);

}  // namespace larkspur::cli
