// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Disks and volumes by their path: the words of it, and where a volume ends.

#include "devices/win_hd_io_test.h"

namespace larkspur {
namespace {

using fakes::Wrapping;
using NamedWinHDIO = WinHDIO;

TEST_F(NamedWinHDIO, SameTargets) {
  fakes::SimulatedDrive* drive = MakeDrive();
  fakes::SimulatedDrive* second = m_devices.Add(u"\\\\.\\PhysicalDrive2", 512, 1);
  cWinHDIO other;
  const cNumberedDeviceResource two(2);
  ASSERT_TRUE(Open(&m_io) && other.Open(&two, true));
  EXPECT_FALSE(m_io.IsSameAs(&other));
  EXPECT_FALSE(m_io.IsSameAs(nullptr));
  cNamedWinHDIO a, b;
  ASSERT_TRUE(OpenNamed(&a, drive->path) && OpenNamed(&b, second->path));
  EXPECT_FALSE(a.IsSameAs(&b));
  EXPECT_FALSE(a.IsSameAs(&m_io));
  const Owned<cBaseIO> clone(a.Clone());
  EXPECT_TRUE(a.IsSameAs(clone.get()));
  EXPECT_EQ(clone->GetTypeId(), 23u);
}

TEST_F(NamedWinHDIO, PrefixesByPath) {
  const struct {
    const char16_t* path;
    const char* prefix;
  } cases[] = {{u"\\\\.\\c:", "Drive C: "}, {u"//./c:", "Drive C: "},
               {u"\\\\.\\Z:", "Drive Z: "}, {u"\\\\.\\1:", "1:: "},
               {u"\\\\.\\c:x", "c:x: "},    {u"\\\\.\\HarddiskVolume3", "HarddiskVolume3: "},
               {u"/dev/sda", "/dev/sda: "}, {u"\\\\?\\Volume", "\\\\?\\Volume: "}};
  for (const auto& c : cases) {
    MakeDrive()->path = c.path;
    cNamedWinHDIO io;
    ASSERT_TRUE(OpenNamed(&io, c.path));
    EXPECT_EQ(Description(&io), c.prefix + std::string("Fixed Model (ATA)"));
    EXPECT_EQ(io.GetFullSectorCount(), 4001u) << "asked again by the description";
    io.Close();
    EXPECT_EQ(Description(&io), "(none)");
  }
}

struct ClampCase {
  const char* name;
  u64 volume;    // sectors that the volume says
  u64 disk;      // and its disk
  u64 start;     // of the volume on the disk
  u64 capacity;  // that the drive says; 0: it says nothing
  u64 expected;
};

constexpr u64 kTwo32 = u64{1} << 32;
constexpr ClampCase kClamps[] = {
    {"fits exactly", 5000, 5000, 100, 5000, 5000},
    {"one too many", 5001, 5000, 100, 5000, 4900},
    {"starts at the end", 5001, 5000, 5000, 5000, 0},
    {"starts past the end", 5001, 5000, 6000, 5000, 0},
    {"the drive says nothing", 5001, 5000, 100, 0, 4900},
    {"both large", kTwo32 + 10, kTwo32 + 5, 100, kTwo32 + 5, kTwo32 - 95},
    {"the disk's size is cut", kTwo32 + 10, 5000, 100, kTwo32, kTwo32 - 100},
    {"T at the limit", kTwo32 + 10, 5000, 100, kTwo32 - 2, 4900},
    {"T beyond the limit", kTwo32 + 10, 5000, 100, kTwo32 - 1, kTwo32 - 100},
    {"D at the limit", kTwo32 + 10, kTwo32 - 1, 100, kTwo32, kTwo32 - 100},
    {"D beyond the limit", kTwo32 + 10, kTwo32, 100, kTwo32, kTwo32 - 100},
    {"cut, S at the limit", kTwo32 + 10, 5000, kTwo32 - 1, kTwo32, 1},
    {"cut, S beyond the limit", kTwo32 + 10, 5000, kTwo32, kTwo32, 0},
};

TEST_F(NamedWinHDIO, AVolumeIsCutAtTheEndOfItsDisk) {
  for (const ClampCase& c : kClamps) {
    fakes::SimulatedDrive* volume = m_devices.Add(u"\\\\.\\D:");
    volume->lengthBytes = c.volume * 512;
    volume->partition = 1;
    volume->partitionStartBytes = c.start * 512;
    fakes::SimulatedDrive* disk = MakeDrive();
    disk->lengthBytes = c.disk * 512;
    disk->identifyData = fakes::MakeIdentify("M", "S", "F", c.capacity);
    if (c.capacity == 0) disk->wrapping = Wrapping::kNone;
    cNamedWinHDIO io;
    ASSERT_TRUE(OpenNamed(&io, volume->path));
    EXPECT_EQ(io.GetSectorCount(), c.expected) << c.name;
    EXPECT_EQ(io.GetFullSectorCount(), c.volume) << c.name;
    const std::string log = disk->TakeLog();
    EXPECT_EQ(log.find("open rw"), 0u) << c.name;
    EXPECT_EQ(log.find("ata") != log.npos, c.disk < c.volume) << "asked only when it matters";
  }
}

TEST_F(NamedWinHDIO, WhatIsNoVolumeIsNotCut) {
  fakes::SimulatedDrive* disk = MakeDrive(512, 10);
  fakes::SimulatedDrive* volume = m_devices.Add(u"\\\\.\\D:", 512, 4000);
  volume->partition = 1;
  const auto sectorsOf = [&](std::optional<u32> type) {
    volume->deviceType = type;
    cNamedWinHDIO io;
    EXPECT_TRUE(OpenNamed(&io, volume->path));
    return io.GetSectorCount();
  };
  EXPECT_EQ(sectorsOf(7), 10u) << "the start is taken as 0 when nothing says it";
  EXPECT_EQ(sectorsOf(2), 4000u);
  EXPECT_EQ(sectorsOf(8), 4000u);
  EXPECT_EQ(sectorsOf(std::nullopt), 4000u);
  disk->isPresent = false;
  EXPECT_EQ(sectorsOf(7), 4000u);
}

}  // namespace
}  // namespace larkspur
