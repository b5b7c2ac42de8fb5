// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <gtest/gtest.h>

#include "devices/device_system.h"
#include "fakes/simulated_drive.h"

namespace larkspur {

// Tests with simulated devices instead of the system's. A wrong byte in any request fails the test.
class DeviceTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(m_devices.Faults(), ""); }

  // An ATA drive.
  fakes::SimulatedDrive* AddDrive(const char16_t* path, u32 sectorBytes, u64 sectors) {
    fakes::SimulatedDrive* drive = m_devices.Add(path, sectorBytes, sectors);
    drive->wrapping = fakes::Wrapping::kNative;
    drive->identifyData = fakes::MakeIdentify("Model", "SN1", "FW", sectors);
    return drive;
  }
  // A drive that commands may be sent to.
  std::unique_ptr<platform::Device> OpenDrive(const fakes::SimulatedDrive& drive) {
    return m_devices.Open(drive.path.c_str(), platform::kAccessRead | platform::kAccessWrite);
  }

  fakes::SimulatedDevices m_devices;

 private:
  cDevicesInstead m_instead{&m_devices};
};

}  // namespace larkspur
