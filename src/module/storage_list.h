// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <vector>

#include "base/owned.h"
#include "io/base_io.h"
#include "module/host_contract.h"

namespace larkspur {

// The storages of the host's list in their order, null ones included.
std::vector<cBaseIO*> StoragesOf(const HostStorageList& list);

// Appends `storage` with the tree of its partitions to the list and tells the host. Answers the
// storage, which is the list's from then on; null, and the storage is destroyed, without memory.
cBaseIO* AppendStorage(HostStorageList& list, Owned<cBaseIO> storage);

}  // namespace larkspur
