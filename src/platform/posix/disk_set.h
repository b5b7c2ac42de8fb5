// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The whole disks that something lies on, named by their folders in /sys. Devices that are built on
// others (mapped ones, RAID sets) stand together with those.

#include <set>
#include <string>

namespace larkspur::platform {

using DiskSet = std::set<std::string>;

// Of the block device at `node`; empty when that is none.
DiskSet DisksOfDevice(const std::string& node);
// Of the file system that holds `path`, which exists.
DiskSet DisksOfFile(const std::string& path);
// Of all that is mounted or swapped to.
DiskSet DisksInUse();

}  // namespace larkspur::platform
