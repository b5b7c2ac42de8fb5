// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Files and devices as the system reads them, and what comes back after it has gone.

#include "imaging/asked_source_test.h"

#include <algorithm>

#include "base/path_text.h"
#include "fakes/temp_folder.h"
#include "imaging/unit_reader.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

TEST_F(AskedSourceTest, AFile) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"image");
  auto content = fakes::Pattern(0, 1000);
  content.resize(content.size() + 100);
  ASSERT_TRUE(fakes::WriteWholeFile(path, content));
  const auto opened = OpenSource(path, {});
  ASSERT_TRUE(opened);
  const Source& source = *opened;
  EXPECT_EQ(source.trailingBytes, 100u);
  const SourceIdentity& identity = source.asked->Identity();
  EXPECT_EQ(identity.path, Utf8FromWide(path));
  EXPECT_EQ(identity.sectors, 1000u);
  EXPECT_EQ(identity.logicalSectorBytes, 512u);
  EXPECT_EQ(Ask(source, 0, 128), "128");
  EXPECT_EQ(Ask(source, 999, 1), "1");
  ASSERT_TRUE(fakes::WriteWholeFile(path, fakes::Pattern(0, 500)));
  EXPECT_EQ(Ask(source, 490, 20), "10 gone") << "it has become shorter";
  EXPECT_EQ(Ask(source, 490, 10), "10") << "past the cache now";
  EXPECT_EQ(Ask(source, 3, 9), "9");
  EXPECT_EQ(Ask(source, 495, 20), "5 gone");
  EXPECT_EQ(Ask(source, 700, 1), "0 gone");
  EXPECT_FALSE(source.asked->Reconnect(0));
  ASSERT_TRUE(fakes::WriteWholeFile(path, fakes::Pattern(0, 1000)));
  EXPECT_TRUE(source.asked->Reconnect(0));
  EXPECT_EQ(Ask(source, 700, 3), "3");
}

TEST_F(AskedSourceTest, ADriveSaysOnceWhoItIs) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const Source source = Open(*drive);
  EXPECT_EQ(drive->TakeLog(), "open r\nopen rw\nata 00 01 00 00 00 00 EC\nopen r");
  const SourceIdentity& identity = source.asked->Identity();
  EXPECT_EQ(identity.path, "\\\\.\\D:");
  EXPECT_EQ(identity.model, "Model");
  EXPECT_EQ(identity.serial, "SN1");
  EXPECT_EQ(identity.firmware, "FW");
  EXPECT_EQ(identity.sectors, 4000u);
  EXPECT_EQ(Ask(source, 3990, 10), "10");
  EXPECT_EQ(drive->TakeLog(), "read 2042880+5120") << "and nothing else is asked";
}

TEST_F(AskedSourceTest, OnlyWholeSectorsOfADriveAreRead) {
  fakes::SimulatedDrive* drive = MakeDrive(4096, 100);
  const Source source = Open(*drive);
  EXPECT_EQ(source.asked->Identity().logicalSectorBytes, 4096u);
  EXPECT_EQ(source.asked->Identity().physicalSectorBytes, 4096u);
  drive->TakeLog();
  EXPECT_EQ(Ask(source, 8, 16), "16");
  EXPECT_EQ(Ask(source, 7, 2), "2");
  EXPECT_EQ(Ask(source, 5, 128), "128");
  EXPECT_EQ(drive->TakeLog(), "read 4096+8192\nread 0+8192\nread 0+69632");
}

TEST_F(AskedSourceTest, TestModeFailsLikeAMedium) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const fakes::TempFolder folder;
  const std::u16string mapfile = folder.File(u"bad.map");
  const std::string text = "0x0 + 1\n0x0 0x1000 +\n0x1000 0x200 -\n0x1200 0x62000 +\n";
  ASSERT_TRUE(fakes::WriteWholeFile(mapfile, {text.begin(), text.end()}));
  const Source source = Open(*drive, {.testMapfile = mapfile});
  EXPECT_EQ(Ask(source, 0, 8), "8");
  EXPECT_EQ(Ask(source, 0, 128), "8 medium");
  EXPECT_EQ(Ask(source, 8, 1), "0 medium");
  EXPECT_EQ(Ask(source, 9, 100), "100");
  drive->isPresent = false;
  EXPECT_EQ(Ask(source, 0, 128), "0 gone");
}

TEST_F(AskedSourceTest, WhatHasGoneComesBackAsTheSame) {
  fakes::SimulatedDrive* drive = MakeDrive();
  const Source source = Open(*drive);
  drive->isPresent = false;
  EXPECT_EQ(Ask(source, 0, 8), "0 gone");
  EXPECT_FALSE(source.asked->Reconnect(0));
  EXPECT_EQ(Ask(source, 0, 8), "0 gone") << "what is not open is no refusal";
  drive->isPresent = true;
  drive->identifyData = fakes::MakeIdentify("Model", "SN2", "FW", 4000);
  EXPECT_FALSE(source.asked->Reconnect(0)) << "another drive";
  drive->identifyData = fakes::MakeIdentify("Model", "SN1", "FW", 4000);
  EXPECT_TRUE(source.asked->Reconnect(0));
  EXPECT_EQ(Ask(source, 0, 8), "8");
}

TEST_F(AskedSourceTest, WhatTheKernelSays) {
  using enum FailureKind;
  const struct {
    FailureKind told, state;
    const char* answer;
  } cases[] = {{kMedium, kNone, "0 medium"},   {kTransport, kNone, "0 transport"},
               {kGone, kNone, "0 transport"},  {kSystem, kNone, "0 system"},
               {kGone, kGone, "0 gone"},       {kGone, kTransport, "0 transport"},
               {kUnclear, kNone, "0 unclear"}, {kUnclear, kTransport, "0 transport"},
               {kUnclear, kGone, "0 gone"},    {kTransport, kGone, "0 gone"}};
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive();
    drive->failing = {0};
    drive->failsAs = c.told;
    const Source source = Open(*drive, {.passThrough = PassThrough::kOff});
    drive->state = c.state;
    EXPECT_EQ(Ask(source, 0, 8), c.answer);
  }
}

// Nothing of another medium is given for the one that was there.
TEST_F(AskedSourceTest, AMediumThatIsChanged) {
  for (const bool fails : {false, true}) {
    fakes::SimulatedDrive* drive = MakeScsiDrive();
    drive->isRemovable = true;
    const Source source = Open(*drive);
    EXPECT_EQ(Ask(source, 0, 8), "8");
    if (fails) drive->failing = {0};
    drive->mediumNumber = 2;
    EXPECT_EQ(Ask(source, 0, 8), "0 gone");
    EXPECT_EQ(Ask(source, 8, 8), "0 gone");
    drive->mediumNumber.reset();
    drive->lengthBytes = 0;
    EXPECT_FALSE(source.asked->Reconnect(0));
    drive->mediumNumber = 3;
    drive->lengthBytes = 4000 * 512;
    EXPECT_TRUE(source.asked->Reconnect(0));
    EXPECT_EQ(Ask(source, 8, 8), "8");
  }
}

TEST_F(AskedSourceTest, PhysicalSectors) {
  const struct {
    u32 logical;
    u32 told;  // by the drive, as a power of two of logical sectors
    u32 system;
    u32 offset;
    u64 start;
    u32 physical;
  } cases[] = {
      {512, 0, 0, 0, 0, 512},           {512, 3, 0, 0, 0, 4096},
      {512, 0, 4096, 0, 0, 4096},       {512, 3, 512, 0, 0, 4096},
      {512, 15, 0, 0, 0, 512},          {512, 0, 3000, 0, 0, 512},
      {512, 0, 1u << 31, 0, 0, 512},    {512, 3, 0, 0, 63 * 512, 512},
      {512, 3, 0, 0, 2048 * 512, 4096}, {512, 0, 4096, 3584, 512, 4096},
      {4096, 0, 4096, 0, 0, 4096},      {4096, 0, 512, 0, 0, 4096},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive(c.logical);
    fakes::SetWord(&drive->identifyData, 106, static_cast<u16>(0x6000 | c.told));
    drive->physicalBytes = c.system;
    drive->firstPhysicalOffset = c.offset;
    drive->partitionStartBytes = c.start;
    EXPECT_EQ(Open(*drive).asked->Identity().physicalSectorBytes, c.physical)
        << c.told << " " << c.system << " " << c.start;
  }
}

TEST_F(AskedSourceTest, ADriveThatComesBackAtAnotherPath) {
  fakes::SimulatedDrive* other = MakeScsiDrive();
  other->path = u"\\\\.\\PhysicalDrive5";
  other->vendor = "ACME";
  other->serial = "SN2";
  fakes::SimulatedDrive* drive = MakeScsiDrive();
  drive->vendor = "ACME";
  drive->serial = "SN1";
  const Source source = Open(*drive);
  drive->isPresent = false;
  EXPECT_EQ(Ask(source, 0, 8), "0 gone");
  // Its path belongs to another one now, and it has a new one.
  drive->path = u"\\\\.\\PhysicalDrive6";
  other->path = u"\\\\.\\D:";
  other->TakeLog();
  EXPECT_FALSE(source.asked->Reconnect(0));
  drive->isPresent = true;
  EXPECT_TRUE(source.asked->Reconnect(0));
  EXPECT_EQ(source.asked->Identity().path, "\\\\.\\PhysicalDrive6");
  EXPECT_EQ(Ask(source, 0, 8), "8");
  EXPECT_EQ(other->TakeLog().find("scsi"), std::string::npos) << "a stranger is not asked";
  // Another partition of the same drive is not the source.
  drive->isPresent = false;
  Ask(source, 0, 8);
  drive->isPresent = true;
  drive->partition = 1;
  EXPECT_FALSE(source.asked->Reconnect(0));
}

// What comes short is asked for further, what fails is not.
TEST(UnitReader, ShortReadsAreNoFailures) {
  const std::vector<u8> disk = fakes::Pattern(0, 300);
  const struct {
    u32 unit, most;  // bytes at a time
    u64 failing;     // the byte from which on the disk fails; 0: none
    u64 offset;
    u32 length, delivered, transfers;
  } cases[] = {
      {1, 65536, 0, 512, 65536, 65536, 1},      {1, 30000, 0, 512, 65536, 65536, 3},
      {512, 4096, 0, 512, 9216, 9216, 3},       {4096, 4096, 0, 512, 9216, 9216, 3},
      {4096, 65536, 0, 512, 9216, 9216, 1},     {1, 65536, 0, 149504, 8192, 4096, 2},
      {4096, 65536, 0, 149504, 8192, 4096, 2},  {512, 4096, 8192, 512, 65536, 7680, 2},
      {4096, 65536, 8192, 512, 65536, 7680, 1}, {512, 100, 0, 0, 512, 100, 2},
  };
  UnitReader reader;
  ASSERT_TRUE(reader.Allocate(65536, 4096));
  platform::OwnedPages buffer(65536);
  for (const auto& c : cases) {
    u32 transfers = 0;
    const auto transfer = [&](u8* into, u32 length, u64 offset) {
      ++transfers;
      EXPECT_TRUE(offset % c.unit == 0 && length % c.unit == 0);
      const u64 end = std::min({offset + length, offset + c.most, u64{disk.size()},
                                c.failing ? c.failing : u64{disk.size()}});
      if (end == c.failing) platform::SetLastFailure(5);
      std::copy(disk.begin() + static_cast<i64>(std::min(offset, end)),
                disk.begin() + static_cast<i64>(end), into);
      return static_cast<u32>(end - std::min(offset, end));
    };
    const u32 delivered = reader.Read(c.offset, buffer.Data(), c.length, c.unit, transfer);
    EXPECT_EQ(delivered, c.delivered) << c.unit << " " << c.most;
    EXPECT_EQ(std::memcmp(buffer.Data(), disk.data() + c.offset, delivered), 0);
    EXPECT_EQ(transfers, c.transfers) << c.unit << " " << c.most;
    EXPECT_EQ(platform::LastFailure(), c.failing ? 5u : 0u);
  }
}

}  // namespace
}  // namespace larkspur
