// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Finding what the user named by its place in the partition tree.

#include <string>

#include "base/exit_status.h"
#include "base/result.h"
#include "io/sector_range.h"

namespace larkspur {
class cBaseIO;
class Engine;
}  // namespace larkspur

namespace larkspur::cli {

// The sectors that the partition at `place` covers, cut at the storage's end. Where that fails, the
// user has been told. `name` is the storage's, for messages. `engine` is what the storage is read
// through, if anything: when it stopped on the way, why is for its owner to tell.
Result<SectorRange, ExitStatus> FindPartition(cBaseIO* storage, const std::string& name,
                                              const std::string& place,
                                              const Engine* engine = nullptr);

}  // namespace larkspur::cli
