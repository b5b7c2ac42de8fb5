// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening the device that a path names, by the class that fits it.

#include <string>

#include "base/owned.h"
#include "devices/device_identity.h"
#include "io/base_io.h"

namespace larkspur {

// Opens `path` for reading: an optical drive, a numbered drive, or another block device. Null on
// failure. An optical drive never delivers what it could not read.
Owned<cBaseIO> OpenDrive(const std::u16string& path);

// What a drive from OpenDrive said of itself when it was opened. It is not asked again.
DeviceIdentity IdentityOf(cBaseIO* drive);
std::u16string DescriptionOf(cBaseIO* drive);

// Whether the device at `path`, of which a read just failed on this thread, has gone, or has become
// smaller than it was. Asks the system only: a drive that fails to read is not asked for more.
bool HasDriveGone(const std::u16string& path, u64 bytes);

}  // namespace larkspur
