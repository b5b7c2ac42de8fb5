// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The storage devices of this machine, with what the system knows of each. No drive is asked.

#include <string>
#include <vector>

#include "platform/device.h"

namespace larkspur {

struct DeviceFacts : platform::ListedDevice {
  u32 kind = 0;  // DeviceKind
  u32 bus = 0;   // BusType
  bool isRemovable = false;
  std::u16string model;
  std::u16string serial;
};

std::vector<DeviceFacts> FindDevices();

}  // namespace larkspur
