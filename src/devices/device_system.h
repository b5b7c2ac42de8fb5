// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where the device classes get their devices from: the system's, unless a test brings its own.

#include "platform/device.h"

namespace larkspur {

platform::DeviceSystem& Devices();

// While it lives, Devices() answers `devices`. Not to be changed while other threads open devices.
class cDevicesInstead {
 public:
  explicit cDevicesInstead(platform::DeviceSystem* devices);
  cDevicesInstead(const cDevicesInstead&) = delete;
  cDevicesInstead& operator=(const cDevicesInstead&) = delete;
  ~cDevicesInstead();

 private:
  platform::DeviceSystem* m_before;
};

}  // namespace larkspur
