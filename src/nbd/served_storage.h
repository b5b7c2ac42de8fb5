// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the plugin was told to serve: a cache as it is, or a source through its cache, whole or one
// partition of it.

#include <functional>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "io/sector_range.h"
#include "nbd/block_source.h"

namespace larkspur {

struct ServedOptions : cli::StorageOptions {  // no source: the cache as it is
  std::string partition;                      // its place; empty: the whole storage
  bool zerosForUnreadable = false;
  bool fill = false;
  std::function<bool()> isClientGone;  // RescuedBlocks::Options has it
};

struct ServedStorage {
  std::unique_ptr<BlockSource> blocks;
  SectorRange range;  // what clients see of it
};

// No blocks when something is wrong; the user has been told. With a source it starts threads.
ServedStorage OpenServedStorage(const ServedOptions& options);

}  // namespace larkspur
