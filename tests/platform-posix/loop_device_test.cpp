// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Block devices of Linux, by real ones: loop devices on files of the test.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/endian.h"
#include "base/path_text.h"
#include "devices/device_list.h"
#include "devices/device_query.h"
#include "devices/identity_text.h"
#include "devices/named_win_hd_io.h"
#include "fakes/memory_disk.h"
#include "fakes/simulated_drive.h"
#include "fakes/temp_folder.h"
#include "platform/device_requests.h"
#include "platform/posix/storage_descriptor.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

constexpr u64 kSectors = 2400;

// Runs a command and gives the first line that it prints.
std::string FirstLine(const std::string& command) {
  char line[200] = {};
  FILE* out = popen(command.c_str(), "r");
  if (!out) return {};
  const bool printed = fgets(line, sizeof(line), out) != nullptr;
  pclose(out);
  std::string text = printed ? line : "";
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

class LoopDevice : public testing::TestWithParam<u32> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fakes::WriteWholeFile(m_file, fakes::Pattern(0, kSectors)));
    if (geteuid() != 0) GTEST_SKIP() << "loop devices need the rights of root";
    m_node = FirstLine("losetup --find --show --sector-size " + std::to_string(GetParam()) + " " +
                       Utf8FromWide(m_file) + " 2>/dev/null");
    if (m_node.empty()) GTEST_SKIP() << "this machine has no loop devices";
    m_path = WideFromUtf8(m_node);
  }
  void TearDown() override { Detach(); }
  void Detach() {
    if (!m_node.empty()) FirstLine("losetup --detach " + m_node);
    m_node.clear();
  }
  std::unique_ptr<Device> Open(u32 access = kAccessRead) {
    return SystemDevices().Open(m_path.c_str(), access);
  }

  fakes::TempFolder m_folder;
  std::u16string m_file = m_folder.File(u"medium");
  std::string m_node;
  std::u16string m_path;
};

INSTANTIATE_TEST_SUITE_P(SectorSizes, LoopDevice, testing::Values(512u, 4096u));

TEST_P(LoopDevice, AnswersTheSameRequests) {
  const auto device = Open();
  ASSERT_TRUE(device);
  const auto geometry = QueryGeometry(*device);
  ASSERT_TRUE(geometry);
  EXPECT_EQ(geometry->bytesPerSector, GetParam());
  EXPECT_GT(geometry->sectorsPerTrack, 0u);
  EXPECT_GT(geometry->tracksPerCylinder, 0u);
  EXPECT_EQ(QueryLength(*device), kSectors);
  const auto number = QueryNumber(*device);
  ASSERT_TRUE(number);
  EXPECT_EQ(number->type, kDeviceTypeDisk);
  EXPECT_EQ(number->partition, 0u);
  EXPECT_EQ(QueryPartitionStart(*device), 0u);
  const auto descriptor = StorageDescriptor::Query(*device);
  ASSERT_TRUE(descriptor);
  EXPECT_EQ(descriptor->Bus(), kBusFileBackedVirtual);
  EXPECT_FALSE(descriptor->IsRemovable());
  EXPECT_EQ(device->IsPowered(), std::nullopt);
  const auto sizes = QuerySectorSizes(*device);
  ASSERT_TRUE(sizes);
  EXPECT_EQ(sizes->logicalBytes, GetParam());
  EXPECT_EQ(sizes->physicalBytes, GetParam());
  EXPECT_EQ(sizes->firstBytes, 0u);
  EXPECT_EQ(device->MediumNumber(true), device->MediumNumber(false));
}

TEST_P(LoopDevice, TakesNoCommandsAndAnswersNeedRoom) {
  const auto device = Open();
  const std::pair<u32, size_t> tooSmall[] = {{kGetDriveGeometry, 23},
                                             {kGetLengthInfo, 7},
                                             {kGetDeviceNumber, 11},
                                             {kGetPartitionInfo, 143},
                                             {kQueryProperty, 20}};
  for (const auto& [code, room] : tooSmall) {
    u8 out[144];
    u32 returned = 0;
    EXPECT_FALSE(device->Control(code, {}, {out, room}, &returned)) << code;
  }
  for (const u32 code : {kScsiPassThroughDirect, kScsiPassThrough, kAtaPassThrough, kIdePassThrough,
                         kSmartGetVersion, 0u}) {
    u8 request[608] = {56};
    u32 returned = 0;
    EXPECT_FALSE(device->Control(code, request, request, &returned)) << code;
    EXPECT_NE(LastFailure(), 0u);
  }
}

TEST_P(LoopDevice, IsNeverWritten) {
  const auto device = Open(kAccessRead | kAccessWrite);
  ASSERT_TRUE(device);
  const OwnedPages page(4096);
  EXPECT_EQ(device->Write(page.Data(), 4096), 0u);
  EXPECT_EQ(LastFailure(), static_cast<u32>(EROFS));
  EXPECT_EQ(fakes::ReadWholeFile(m_file), fakes::Pattern(0, kSectors));
}

TEST_P(LoopDevice, IsThereUntilItIsNot) {
  EXPECT_EQ(SystemDevices().StateOf(m_path.c_str(), kSectors * 512), FailureKind::kNone);
  EXPECT_EQ(SystemDevices().StateOf(m_path.c_str(), kSectors * 512 + 1), FailureKind::kGone)
      << "it was larger";
  EXPECT_TRUE(SystemDevices().IsDevice(m_path.c_str()));
  Detach();
  EXPECT_EQ(SystemDevices().StateOf(m_path.c_str(), 0), FailureKind::kGone)
      << "without a size there is nothing";
}

TEST_P(LoopDevice, IsGoneWithWhatItIsBuiltOn) {
  const auto state = [](const std::string& node) {
    return SystemDevices().StateOf(WideFromUtf8(node).c_str(), 0);
  };
  const std::string file = Utf8FromWide(m_file);
  const std::string above = FirstLine("losetup --find --show " + m_node);
  const std::string nodes[] = {m_node, above};
  for (const std::string& node : nodes) EXPECT_EQ(state(node), FailureKind::kNone) << node;
  std::filesystem::resize_file(file, 100);
  for (const std::string& node : nodes) EXPECT_EQ(state(node), FailureKind::kGone) << node;
  std::filesystem::resize_file(file, kSectors * 512);
  for (const std::string& node : nodes) EXPECT_EQ(state(node), FailureKind::kNone) << node;
  std::filesystem::remove(file);
  for (const std::string& node : nodes) EXPECT_EQ(state(node), FailureKind::kGone) << node;
  FirstLine("losetup --detach " + above);
}

TEST(BlockDevices, WhatIsNoBlockDeviceIsNotOpened) {
  const fakes::TempFolder folder;
  const std::u16string file = folder.File(u"file");
  ASSERT_TRUE(fakes::WriteWholeFile(file, {1}));
  const struct {
    std::u16string path;
    u32 error;
  } cases[] = {{file, ENOTBLK},
               {WideFromUtf8(folder.Path().string()), ENOTBLK},
               {u"/dev/null", ENOTBLK},
               {folder.File(u"absent"), ENOENT},
               {u"\\\\.\\PhysicalDrive0", ENOENT}};
  for (const auto& c : cases) {
    EXPECT_EQ(SystemDevices().Open(c.path.c_str(), kAccessRead), nullptr);
    EXPECT_EQ(LastFailure(), c.error) << Utf8FromWide(c.path);
    EXPECT_EQ(SystemDevices().StateOf(c.path.c_str(), 0), FailureKind::kGone);
    EXPECT_EQ(SystemDevices().OpticalLetter(c.path.c_str()), u'\0');
  }
}

TEST(BlockDevices, BusesByTheirPlace) {
  const struct {
    const char* folder;
    u32 bus;
  } cases[] = {
      {"/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/6:0:0:0/block/sdb",
       kBusUsb},
      {"/sys/devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda", kBusSata},
      {"/sys/devices/pci0000:00/0000:02:00.0/nvme/nvme0/nvme0n1", kBusNvme},
      {"/sys/devices/platform/sdhci/mmc_host/mmc0/mmc0:0001/block/mmcblk0", kBusMmc},
      {"/sys/devices/platform/host5/session1/target5:0:0/5:0:0:1/block/sdc", kBusIScsi},
      {"/sys/devices/pci0/host0/port-0:0/end_device-0:0/target0:0:0/0:0:0:0/block/sda", kBusSas},
      {"/sys/devices/pci0/host1/rport-1:0-2/target1:0:0/1:0:0:0/block/sdd", kBusFibre},
      {"/sys/devices/virtual/block/loop0", kBusFileBackedVirtual},
      {"/sys/devices/virtual/block/dm-0", kBusVirtual},
      {"/sys/devices/pci0/0000:00:03.0/virtio1/block/vda", kBusVirtual},
      {"/sys/devices/pci0/0000:00:04.0/virtio2/host7/target7:0:0/7:0:0:0/block/sdf", kBusScsi},
      {"/sys/devices/pci0/host2/target2:0:0/2:0:0:0/block/sde", kBusScsi},
      {"/sys/devices/what/block/x", kBusUnknown},
  };
  for (const auto& c : cases) EXPECT_EQ(BusOfFolder(c.folder), c.bus) << c.folder;
}

// What the device classes make of the descriptor's serial number is what Linux put in.
TEST(BlockDevices, SerialNumbersSurviveTheDescriptor) {
  for (const char* serial :
       {"WD-WCC4E1", "S3Z9NB0K", "1234", "57443032", "12345", "A", "", "abcdef01"}) {
    const std::string bytes = DescriptorBytes({.bus = kBusUsb,
                                               .isRemovable = true,
                                               .vendor = "V",
                                               .product = "P",
                                               .revision = "",
                                               .serial = serial});
    fakes::SimulatedDevices devices;
    fakes::SimulatedDrive* drive = devices.Add(u"x");
    drive->rawDescriptor.assign(bytes.begin(), bytes.end());
    const auto device = devices.Open(u"x", kAccessRead);
    const auto texts = TextsOfDescriptor(*device);
    ASSERT_TRUE(texts);
    EXPECT_EQ(texts->line, u"Removable V USB P");
    EXPECT_EQ(Utf8FromWide(texts->serial), serial);
  }
}

}  // namespace
}  // namespace larkspur::platform
