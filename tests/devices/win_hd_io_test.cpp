// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Disks by their number: opening, size, words, modes, writing and copies.

#include "devices/win_hd_io_test.h"

namespace larkspur {
namespace {

using fakes::Wrapping;

TEST_F(WinHDIO, OpeningAsksEachThingOnce) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  std::string log;
  for (const std::string& line : drive->log) log += line + "\n";
  EXPECT_EQ(log,
            "open r\nquery 2D 14 00\nquery 07 00 00\nquery 07 40 5C\n"
            "open rw\nquery 2D 14 00\nata 00 01 00 00 00 00 EC\n");
  EXPECT_EQ(m_io.GetSectorCount(), 4000u);
  EXPECT_EQ(m_io.GetFullSectorCount(), 4001u) << "what the drive says, and one";
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), "SN1");
  EXPECT_EQ(m_io.GetTypeId(), 2u);
  EXPECT_EQ(m_io.GetResourceKind(), 3u);
  std::vector<u32> geometry(3);
  ASSERT_TRUE(m_io.GetGeometry(geometry.data()));
  EXPECT_EQ(geometry, (std::vector<u32>{512, 63, 255}));
}

TEST_F(WinHDIO, OpensWhatItCanOnly) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const cNamedFileResource named(drive->path);
  EXPECT_FALSE(m_io.Open(&named, true));
  EXPECT_FALSE(m_io.Open(nullptr, true));
  const cNumberedDeviceResource other(2), number(1);
  EXPECT_FALSE(m_io.Open(&other, true)) << "no such drive";
  cNamedWinHDIO byName;
  EXPECT_FALSE(byName.Open(&number, true));
  EXPECT_FALSE(byName.Open(nullptr, true));
  EXPECT_EQ(byName.GetTypeId(), 23u);
  EXPECT_EQ(byName.GetResourceKind(), 2u);
  drive->hasGeometry = false;
  EXPECT_FALSE(Open(&m_io));
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  drive->hasGeometry = true;
  drive->identifyData.clear();
  for (const u32 tooSmall : {0u, 1u, 256u, 511u}) {
    drive->geometrySectorBytes = tooSmall;
    EXPECT_FALSE(Open(&m_io)) << tooSmall;
    EXPECT_EQ(Read(&m_io, 0, 1), 0u);
  }
}

TEST_F(WinHDIO, TheSizeComesFromTheLengthElseFromTheGeometry) {
  const struct {
    std::optional<u64> length, cylinders;
    u32 tracks, sectorsPerTrack;
    u64 sectors;
  } cases[] = {{4000 * 512 + 511, {}, 255, 63, 4000},
               {{}, 10, 255, 63, 10u * 255 * 63},
               {{}, ~u64{0}, ~u32{0}, ~u32{0}, 0}};  // more than any drive has
  fakes::SimulatedDrive* drive = MakeDrive();
  for (const auto& c : cases) {
    drive->lengthBytes = c.length;
    drive->cylinders = c.cylinders;
    drive->tracks = c.tracks;
    drive->sectorsPerTrack = c.sectorsPerTrack;
    ASSERT_TRUE(Open(&m_io));
    EXPECT_EQ(m_io.GetSectorCount(), c.sectors);
  }
}

TEST_F(WinHDIO, Descriptions) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io, 8), "Drive1:");
  EXPECT_EQ(Description(&m_io, 0), "(none)");
  drive->isRemovable = true;
  drive->identifyData = fakes::MakeIdentify("", "", "", 1);
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io), "Drive1: Removable [n/a] (ATA)");
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), "[n/a]");
  drive->identifyData.clear();
  drive->vendor = "ACME";
  drive->product = "Disk";
  drive->serial = "57443032";
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(Description(&m_io), "Drive1: Removable ACME SATA Disk");
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), "DW20");
  EXPECT_EQ(m_io.GetFullSectorCount(), 4000u);
  m_io.Close();
  EXPECT_EQ(Description(&m_io), "(none)");
}

TEST_F(WinHDIO, KindsInDescriptions) {
  const struct {
    u32 bus;
    const char* vendor;
    Wrapping wrapping;
    const char16_t* usbParent;
    const char* text;
  } cases[] = {
      {11, "", Wrapping::kNative, u"", "Drive1: Fixed Model (ATA)"},
      {11, "ATA     ", Wrapping::kSat16, u"", "Drive1: Fixed Model (SAT)"},
      {7, "", Wrapping::kSat16, u"", "Drive1: Fixed Model (USB)"},
      {10, "", Wrapping::kNone, u"", "Drive1: Fixed V P (SCSI)"},
      {7, "Card", Wrapping::kNative, u"USB\\VID_1234&PID_5678", "Drive1: Removable Card Reader"}};
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive();
    drive->bus = c.bus;
    drive->vendor = c.vendor;
    drive->product = "Reader";
    drive->wrapping = c.wrapping;
    drive->usbParent = c.usbParent;
    drive->isRemovable = *c.usbParent != 0;
    drive->inquiry = fakes::MakeInquiry("V", "P", "R");
    ASSERT_TRUE(Open(&m_io));
    EXPECT_EQ(Description(&m_io), c.text);
  }
}

TEST_F(WinHDIO, WritesAsAsked) {
  fakes::SimulatedDrive* drive = MakeDrive();
  u8 buffer[512 * 3] = {};
  ASSERT_TRUE(Open(&m_io));
  EXPECT_EQ(m_io.Write(0, buffer, 1), 0u) << "read-only";
  ASSERT_TRUE(Open(&m_io, false));
  drive->TakeLog();
  EXPECT_EQ(m_io.Write(10, buffer, 3), 3u);
  EXPECT_EQ(m_io.Write(3999, buffer, 3), 1u);
  EXPECT_EQ(m_io.Write(4000, buffer, 1), 0u);
  EXPECT_EQ(drive->TakeLog(), "write 5120+1536\nwrite 2047488+512");
}

TEST_F(WinHDIO, TheModeChangesByOpeningAnew) {
  fakes::SimulatedDrive* drive = MakeDrive();
  EXPECT_FALSE(m_io.SetReadOnly(false)) << "nothing was opened yet";
  ASSERT_TRUE(Open(&m_io));
  drive->TakeLog();
  EXPECT_TRUE(m_io.SetReadOnly(true));
  EXPECT_EQ(drive->TakeLog(), "");
  EXPECT_TRUE(m_io.SetReadOnly(false));
  EXPECT_EQ(drive->TakeLog(), "open rw");
  drive->isPresent = false;
  EXPECT_FALSE(m_io.SetReadOnly(true));
  EXPECT_EQ(Read(&m_io, 0, 1), 0u);
}

TEST_F(WinHDIO, ClonesStandForThemselves) {
  fakes::SimulatedDrive* drive = MakeDrive();
  ASSERT_TRUE(Open(&m_io));
  const Owned<cBaseIO> clone(m_io.Clone());
  ASSERT_TRUE(clone);
  EXPECT_TRUE(clone->IsSameAs(&m_io));
  EXPECT_EQ(Read(clone.get(), 5, 2), 2u);
  EXPECT_TRUE(IsPattern(5, 2));
  drive->geometrySectorBytes = 4096;
  const Owned<cBaseIO> other(m_io.Clone());
  u32 geometry[3];
  ASSERT_TRUE(other->GetGeometry(geometry));
  EXPECT_EQ(geometry[0], 512u) << "a usual size is kept";
  drive->isPresent = false;
  EXPECT_EQ(m_io.Clone(), nullptr);
}

}  // namespace
}  // namespace larkspur
