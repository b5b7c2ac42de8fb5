// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/win_cd_io.h"

#include <cstring>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "fakes/memory_disk.h"
#include "io/bit_map.h"
#include "io/resource.h"

namespace larkspur {
namespace {

class WinCDIO : public DeviceTest {
 protected:
  WinCDIO() {
    m_drive->isOptical = true;
    m_drive->bus = 2;
    m_drive->isRemovable = true;
    m_drive->vendor = "ACME";
    m_drive->product = "DVD";
  }
  bool Open(bool readOnly = true) {
    const cNumberedDeviceResource resource(u'E');
    return m_io.Open(&resource, readOnly);
  }
  u32 Read(u64 sector, u32 count) {
    m_buffer.assign(u64{count} * kSectorBytes, 0xA5);
    m_io.SetPosition(sector);
    return m_io.Read(m_buffer.data(), count);
  }
  bool IsPattern(u64 sector, u32 at, u32 count) {
    const auto expected = fakes::Pattern(sector, count);
    return std::memcmp(expected.data(), &m_buffer[u64{at} * 512], expected.size()) == 0;
  }
  std::string Description() {
    char16_t text[200];
    return m_io.GetDescription(text, 200) ? Utf8FromWide(text) : "(none)";
  }

  fakes::SimulatedDrive* m_drive = m_devices.Add(u"\\\\.\\E:", 2048, 1000);
  std::vector<u8> m_buffer;
  cWinCDIO m_io;
};

TEST_F(WinCDIO, OpensOpticalDrivesForReading) {
  EXPECT_FALSE(Open(false)) << "never for writing";
  ASSERT_TRUE(Open());
  EXPECT_EQ(m_drive->TakeLog(), "open rw");
  EXPECT_EQ(m_io.GetSectorCount(), 4000u);
  EXPECT_EQ(m_io.GetTypeId(), 3u);
  EXPECT_EQ(m_io.GetResourceKind(), 3u);
  u32 geometry[3];
  ASSERT_TRUE(m_io.GetGeometry(geometry));
  EXPECT_EQ(geometry[0], 2048u);
  EXPECT_EQ(Description(), "Drive E: (CD/DVD) Removable ACME ATAPI DVD (0.00GB)");
  EXPECT_STREQ(Utf8FromWide(m_io.GetName()).c_str(), Description().c_str());
  m_drive->isOptical = false;
  EXPECT_FALSE(Open());
  const cNumberedDeviceResource other(u'F');
  EXPECT_FALSE(m_io.Open(&other, true));
  const cNamedFileResource named(u"\\\\.\\E:");
  EXPECT_FALSE(m_io.Open(&named, true));
  EXPECT_EQ(Description(), "(none)");
}

TEST_F(WinCDIO, SizesAndGeometries) {
  m_drive->lengthBytes = u64{9180416} * 512;
  ASSERT_TRUE(Open());
  EXPECT_EQ(Description(), "Drive E: (CD/DVD) Removable ACME ATAPI DVD (4.37GB)");
  m_drive->lengthBytes.reset();
  m_drive->cylinders = 100;
  ASSERT_TRUE(Open());
  EXPECT_EQ(m_io.GetSectorCount(), 4u * 63 * 255 * 100);
  for (const u32 bytes : {0u, 511u, 0x10001u, 0xFFFFFFFFu}) {
    m_drive->geometrySectorBytes = bytes;
    EXPECT_FALSE(Open()) << bytes;
  }
  m_drive->hasGeometry = false;
  EXPECT_FALSE(Open());
}

TEST_F(WinCDIO, ReadsEachPhysicalSectorOnce) {
  ASSERT_TRUE(Open());
  m_drive->TakeLog();
  EXPECT_EQ(Read(3, 6), 6u);
  EXPECT_TRUE(IsPattern(3, 0, 6));
  EXPECT_EQ(m_drive->TakeLog(), "read 0+2048\nread 2048+2048\nread 4096+2048");
  EXPECT_EQ(Read(9, 3), 3u);
  EXPECT_EQ(m_drive->TakeLog(), "") << "it is still there";
  cBitMap presence(4);
  EXPECT_EQ(m_io.Read(m_buffer.data(), 0, &presence), 0u);
  EXPECT_EQ(m_io.Read(m_buffer.data(), 3, &presence), 3u);
  EXPECT_EQ(presence.CountSetRun(0), 4u);
}

TEST_F(WinCDIO, ThePositionIsCutButNotWhatIsAnswered) {
  ASSERT_TRUE(Open());
  EXPECT_EQ(m_io.SetPosition(5000), 5000u);
  EXPECT_EQ(m_io.Read(m_buffer.data(), 0), 0u);
  EXPECT_EQ(Read(5000, 1), 0u);
  EXPECT_EQ(Read(3999, 5), 1u);
}

// READ CD answers for sectors that cannot be read in the ordinary way.
TEST_F(WinCDIO, WhereReadingFailsTheRestIsReadRaw) {
  ASSERT_TRUE(Open());
  m_drive->failing = {2};
  m_drive->onScsi = [this](const fakes::ScsiAsked& asked) {
    return fakes::ScsiReply{.data = m_drive->Content(asked.cdb[5], 1)};
  };
  m_drive->TakeLog();
  EXPECT_EQ(Read(4, 12), 12u);
  EXPECT_TRUE(IsPattern(4, 0, 12));
  EXPECT_EQ(m_drive->TakeLog(),
            "read 2048+2048\nread 4096+2048\n"
            "scsi BE 00 00 00 00 02 00 00 01 10 00 00 in 2352\n"
            "scsi BE 00 00 00 00 03 00 00 01 10 00 00 in 2352");
}

TEST_F(WinCDIO, ARawReadThatFailsDeliversWhatTheBufferHeld) {
  ASSERT_TRUE(Open());
  EXPECT_EQ(Read(4, 4), 4u);
  m_drive->failing = {2};
  m_drive->onScsi = [](const auto&) { return fakes::ScsiReply{.error = 31}; };
  EXPECT_EQ(Read(8, 4), 4u);
  EXPECT_TRUE(IsPattern(4, 0, 4)) << "of sector 1";
  m_drive->onScsi = [](const auto&) { return fakes::ScsiReply{.data = {1, 2, 3}}; };
  Read(0, 4);
  EXPECT_EQ(Read(8, 4), 0u) << "too little came";
}

TEST_F(WinCDIO, StrictlyNothingIsDeliveredThatWasNotRead) {
  m_io.SetStrict(true);
  ASSERT_TRUE(Open());
  m_drive->failing = {2};
  const fakes::ScsiReply replies[] = {
      {.error = 31},
      {.status = 2, .sense = fakes::FixedSense(3, 0x11, 5)},
      {.data = std::vector<u8>(2047, 1)},
      {},
  };
  const Owned<cBaseIO> clone(m_io.Clone());
  for (const auto& reply : replies) {
    m_drive->onScsi = [reply](const auto&) { return reply; };
    EXPECT_EQ(Read(4, 12), 4u);
    EXPECT_TRUE(IsPattern(4, 0, 4));
    clone->SetPosition(8);
    EXPECT_EQ(clone->Read(m_buffer.data(), 1), 0u);
    EXPECT_EQ(Read(12, 4), 4u) << "what lies after it can be read";
    EXPECT_TRUE(IsPattern(12, 0, 4));
  }
}

TEST_F(WinCDIO, Clones) {
  ASSERT_TRUE(Open());
  const Owned<cBaseIO> clone(m_io.Clone());
  ASSERT_TRUE(clone);
  EXPECT_TRUE(m_io.IsSameAs(clone.get()));
  EXPECT_FALSE(m_io.IsSameAs(nullptr));
  m_drive->isPresent = false;
  EXPECT_EQ(m_io.Clone(), nullptr);
}

}  // namespace
}  // namespace larkspur
