// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The whole disks that something lies on, named by their folders in /sys. Devices that are built on
// others (mapped ones, RAID sets, loop devices) stand together with those, and with the files that
// loop devices are made of.

#include <set>
#include <string>

namespace larkspur::platform {

using DiskSet = std::set<std::string>;

// What the block device at `node` is made of, or the file if it is one. A disk that merely holds
// such a file is not in it.
DiskSet DisksOfDevice(const std::string& node);
// All that lies below the file system that holds `path`, which exists.
DiskSet DisksOfFile(const std::string& path);
// Of all that is mounted or swapped to.
DiskSet DisksInUse();

}  // namespace larkspur::platform
