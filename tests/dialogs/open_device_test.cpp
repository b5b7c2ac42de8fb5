// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "devices/device_system.h"
#include "dialogs/model/device_path.h"
#include "fakes/simulated_drive.h"

namespace larkspur {
namespace {

struct OpenDeviceTest : testing::Test {
  fakes::SimulatedDevices devices;
  cDevicesInstead instead{&devices};
};

TEST_F(OpenDeviceTest, OpensNamedDevicesForReading) {
  fakes::SimulatedDrive* const drive = devices.Add(u"\\\\.\\PhysicalDrive3");
  drive->sectors = 777;
  drive->cylinders = 0;
  drive->lengthBytes = 777 * kSectorBytes;
  const Owned<cBaseIO> opened = OpenDevice({DeviceChoice::kNamed, 0, u"\\\\.\\PhysicalDrive3"});
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->GetTypeId(), kTypeNamedWinHD);
  EXPECT_EQ(opened->GetSectorCount(), 777u);
  EXPECT_TRUE(opened->IsReadOnly());
}

TEST_F(OpenDeviceTest, OpensOpticalDrivesByTheirLetter) {
  fakes::SimulatedDrive* const drive = devices.Add(u"\\\\.\\E:");
  drive->isOptical = true;
  drive->sectorBytes = 2048;
  drive->sectors = 100;
  drive->lengthBytes = 100 * 2048;
  const Owned<cBaseIO> opened = OpenDevice({DeviceChoice::kOptical, u'E', {}});
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->GetTypeId(), kTypeWinCD);
}

TEST_F(OpenDeviceTest, AnswersNullForWhatIsNotThere) {
  EXPECT_FALSE(OpenDevice({}));
  EXPECT_FALSE(OpenDevice({DeviceChoice::kNamed, 0, u"\\\\.\\PhysicalDrive9"}));
  EXPECT_FALSE(OpenDevice({DeviceChoice::kOptical, u'F', {}}));
}

}  // namespace
}  // namespace larkspur
