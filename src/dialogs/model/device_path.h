// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a device path means that a person typed: "D:", "\\.\E:", "\\.\PhysicalDrive1", a folder at
// which a volume is mounted, in quotes or not, with either slash.

#include <string>
#include <string_view>

#include "base/owned.h"
#include "io/base_io.h"
#include "platform/volumes.h"

namespace larkspur {

enum class DeviceChoice {
  kRefused,  // no device that can be opened
  kOptical,  // the optical drive `letter`
  kNamed,    // the device at `path`
};

struct DevicePath {
  DeviceChoice choice = DeviceChoice::kRefused;
  char16_t letter = 0;
  std::u16string path;
};

DevicePath DecideDevicePath(std::u16string_view typed, platform::cVolumes& volumes);

// Opens what was decided on for reading; null when it was refused or does not open. An optical
// drive delivers no sector that it could not read: what is read here is kept.
Owned<cBaseIO> OpenDevice(const DevicePath& device);

}  // namespace larkspur
