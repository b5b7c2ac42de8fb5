// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/device_system.h"

#include <utility>

namespace larkspur {
namespace {

platform::DeviceSystem* g_instead = nullptr;

}  // namespace

platform::DeviceSystem& Devices() {
  return g_instead ? *g_instead : platform::SystemDevices();
}

cDevicesInstead::cDevicesInstead(platform::DeviceSystem* devices)
    : m_before(std::exchange(g_instead, devices)) {}

cDevicesInstead::~cDevicesInstead() {
  g_instead = m_before;
}

}  // namespace larkspur
