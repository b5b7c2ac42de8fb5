// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Sources as the engine asks them: what comes, and what a failure is called.

#include <cstring>

#include <fmt/core.h>

#include "base/path_text.h"
#include "devices/device_test.h"
#include "fakes/memory_disk.h"
#include "fakes/temp_folder.h"
#include "imaging/source.h"
#include "imaging/unit_reader.h"
#include "platform/pages.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

class AskedSourceTest : public DeviceTest {
 protected:
  fakes::SimulatedDrive* MakeDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = m_devices.Add(u"\\\\.\\D:", sectorBytes, sectors);
    drive->wrapping = fakes::Wrapping::kNative;
    drive->identifyData = fakes::MakeIdentify("Model", "SN1", "FW", sectors);
    return drive;
  }
  // One that takes commands.
  fakes::SimulatedDrive* MakeScsiDrive(u32 sectorBytes = 512, u64 sectors = 4000) {
    fakes::SimulatedDrive* drive = MakeDrive(sectorBytes, sectors);
    drive->wrapping = fakes::Wrapping::kNone;
    drive->identifyData.clear();
    drive->bus = 1;
    drive->inquiry = fakes::MakeInquiry("ACME", "Disk", "1.0");
    drive->unitSerial = "SN1";
    drive->lastLba = sectors - 1;
    drive->readSeconds = 10;
    return drive;
  }
  Source Open(const fakes::SimulatedDrive& drive, const SourceOptions& options = {}) {
    auto source = OpenSource(drive.path, options);
    EXPECT_TRUE(source);
    return std::move(*source);
  }
  // "8", "3 medium 031100 at 103": what an ask came to. What was delivered
  // must be the pattern.
  std::string Ask(const Source& source, u64 sector, u32 count) {
    std::memset(m_room.Data(), 0xA5, m_room.Size());
    const AskOutcome outcome = source.asked->Ask(sector, m_room.Data(), count);
    const auto pattern = fakes::Pattern(sector, outcome.delivered);
    EXPECT_TRUE(outcome.delivered == 0 ||
                std::memcmp(pattern.data(), m_room.Data(), pattern.size()) == 0);
    EXPECT_EQ(m_room.Data()[u64{count} * kSectorBytes], 0xA5) << "nothing past the request";
    constexpr const char* kKinds[] = {"", "medium", "transport", "gone", "system", "unclear"};
    std::string text = std::to_string(outcome.delivered);
    if (outcome.kind == FailureKind::kNone) return text;
    text += std::string(" ") + kKinds[static_cast<size_t>(outcome.kind)];
    if (outcome.sense != 0) text += fmt::format(" {:06x}", outcome.sense);
    if (outcome.firstBad != kNowhere) text += " at " + std::to_string(outcome.firstBad);
    return text;
  }

  fakes::TempFolder m_folder;
  platform::OwnedPages m_room{AskedSource::kMaxAskSectors * kSectorBytes + 4096};
};

TEST_F(AskedSourceTest, AFile) {
  const std::u16string path = m_folder.File(u"image");
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
  const std::u16string mapfile = m_folder.File(u"bad.map");
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

// Kernel first, commands from the first failure on; the drive names what is bad.
TEST_F(AskedSourceTest, CommandsReadFromTheFirstFailureOn) {
  fakes::SimulatedDrive* drive = MakeScsiDrive();
  drive->failing = {300, 301};
  drive->senseOf = [](u64) { return fakes::FixedSenseAt(300, 3, 0x11, 0); };
  const Source source = Open(*drive);
  drive->TakeLog();
  EXPECT_EQ(Ask(source, 128, 128), "128");
  EXPECT_EQ(Ask(source, 256, 128), "0 unclear");
  EXPECT_EQ(drive->TakeLog(), "read 65536+65536\nread 131072+65536\nopen rw");
  EXPECT_EQ(Ask(source, 256, 44), "44");
  EXPECT_EQ(Ask(source, 300, 1), "0 medium 031100 at 300");
  EXPECT_EQ(Ask(source, 301, 4), "0 medium 031100") << "it names one that was not asked for";
  EXPECT_EQ(drive->TakeLog(),
            "scsi 28 00 00 00 01 00 00 00 2C 00 in 22528\n"
            "scsi 28 00 00 00 01 2C 00 00 01 00 in 512\n"
            "scsi 28 00 00 00 01 2D 00 00 04 00 in 2048");
}

TEST_F(AskedSourceTest, WhenCommandsAreUsed) {
  const struct {
    PassThrough use;
    const char* log;
  } cases[] = {
      {PassThrough::kOff, "read 0+4096\nread 0+512\nread 512+512"},
      {PassThrough::kAuto,
       "read 0+4096\nopen rw\nscsi 28 00 00 00 00 00 00 00 01 00 in 512\n"
       "scsi 28 00 00 00 00 01 00 00 01 00 in 512"},
      {PassThrough::kOn,
       "scsi 28 00 00 00 00 00 00 00 08 00 in 4096\nscsi 28 00 00 00 00 00 00 00 01 00 in 512\n"
       "scsi 28 00 00 00 00 01 00 00 01 00 in 512"},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeScsiDrive();
    drive->failing = {0};
    const Source source = Open(*drive, {.passThrough = c.use});
    drive->TakeLog();
    Ask(source, 0, 8);
    Ask(source, 0, 1);
    EXPECT_EQ(Ask(source, 1, 1), "1");
    EXPECT_EQ(drive->TakeLog(), c.log);
  }
}

// What a drive answers to one command, and what that is called.
TEST_F(AskedSourceTest, SenseDataDecide) {
  const auto status = [](u8 code) { return fakes::ScsiReply{.status = code}; };
  const auto sense = [](std::vector<u8> bytes) {
    return fakes::ScsiReply{.status = 2, .sense = std::move(bytes)};
  };
  const auto error = [](FailureKind kind) {
    return fakes::ScsiReply{.error = fakes::SimulatedDrive::CodeOf(kind)};
  };
  std::vector<u8> whole = fakes::Pattern(100, 8);
  const struct {
    const char* name;
    fakes::ScsiReply reply;
    const char* answer;
  } cases[] = {
      {"medium, fixed", sense(fakes::FixedSenseAt(103, 3, 0x11, 0)), "0 medium 031100 at 103"},
      {"medium, descriptors", sense(fakes::DescriptorSenseAt(107, 3, 0x11, 4)),
       "0 medium 031104 at 107"},
      {"before the request", sense(fakes::FixedSenseAt(99, 3, 0x11, 0)), "0 medium 031100"},
      {"past the request", sense(fakes::DescriptorSenseAt(108, 3, 0x11, 0)), "0 medium 031100"},
      {"no place on any drive", sense(fakes::DescriptorSenseAt(~u64{0}, 3, 0x11, 0)),
       "0 medium 031100"},
      {"no block named", sense(fakes::FixedSense(3, 0x11, 0)), "0 medium 031100"},
      {"sense cut short", sense({0xF0, 0, 3}), "0 medium 030000"},
      {"descriptors cut short", sense({0x72, 3, 0x11, 0, 0, 0, 0, 0xFF, 0, 10}), "0 medium 031100"},
      {"endless descriptors", sense({0x72, 3, 0x11, 0, 0, 0, 0, 0xFF, 1, 0, 1, 0}),
       "0 medium 031100"},
      {"blank", sense(fakes::FixedSense(8, 0, 0)), "0 medium 080000"},
      {"recovered", {.status = 2, .sense = fakes::FixedSense(1, 0x17, 0), .data = whole}, "8"},
      {"hardware", sense(fakes::FixedSense(4, 0x44, 0)), "0 transport 044400"},
      {"aborted by the cable", sense(fakes::FixedSense(11, 0x47, 0)), "0 transport 0b4700"},
      {"aborted", sense(fakes::FixedSense(11, 0, 6)), "0 unclear 0b0006"},
      {"reset", sense(fakes::FixedSense(6, 0x29, 0)), "0 transport 062900"},
      {"no medium", sense(fakes::FixedSense(2, 0x3A, 0)), "0 gone 023a00"},
      {"not ready", sense(fakes::FixedSense(2, 4, 0)), "0 gone 020400"},
      {"will never be ready", sense(fakes::FixedSense(2, 4, 3)), "0 gone 020403"},
      {"becoming ready", sense(fakes::FixedSense(2, 4, 1)), "0 transport 020401"},
      {"locked", sense(fakes::FixedSense(7, 0x20, 2)), "0 system 072002"},
      {"deferred", sense({0x71, 0, 3, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x11, 0}), "0 transport 031100"},
      {"no such sector", sense(fakes::FixedSense(5, 0x21, 0)), "0 unclear 052100"},
      {"no sense data", status(2), "0 unclear"},
      {"busy", status(8), "0 transport"},
      {"timed out", error(FailureKind::kTransport), "0 transport"},
      {"disconnected, but there", error(FailureKind::kGone), "0 transport"},
      {"no memory", error(FailureKind::kSystem), "0 system"},
      // These say that the drive does not take such commands: the kernel is asked instead.
      {"unknown command", sense(fakes::FixedSense(5, 0x20, 0)), "8"},
      {"unknown field", sense(fakes::DescriptorSenseAt(0, 5, 0x24, 0)), "8"},
      {"too little", {.data = {whole.begin(), whole.begin() + 512}, .lost = 3584}, "8"},
      {"refused by the driver", {.error = fakes::SimulatedDrive::RefusedForm()}, "8"},
  };
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeScsiDrive();
    const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
    drive->onScsi = [&](const auto&) { return c.reply; };
    drive->TakeLog();
    EXPECT_EQ(Ask(source, 100, 8), c.answer) << c.name;
    const bool isTaken = c.answer != std::string("8") || c.name == std::string("recovered");
    EXPECT_EQ(drive->TakeLog().find("read ") == std::string::npos, isTaken) << c.name;
    drive->onScsi = nullptr;
    Ask(source, 100, 8);
    EXPECT_EQ(drive->TakeLog().find("read ") == std::string::npos, isTaken)
        << c.name << ": and so for the rest of the run";
  }
}

TEST_F(AskedSourceTest, CommandsCountFromTheDrivesStart) {
  fakes::SimulatedDrive* drive = MakeScsiDrive(4096, 100);
  drive->partition = 2;
  drive->partitionStartBytes = 10 * 4096;
  const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
  drive->TakeLog();
  drive->senseOf = [](u64) { return fakes::FixedSenseAt(12, 3, 0x11, 0); };
  drive->onScsi = [&](const fakes::ScsiAsked& asked) -> std::optional<fakes::ScsiReply> {
    if (asked.cdb[5] != 12) return fakes::ScsiReply{.data = drive->Content(asked.cdb[5] - 10u, 1)};
    return fakes::ScsiReply{.status = 2, .sense = fakes::FixedSenseAt(12, 3, 0x11, 0)};
  };
  EXPECT_EQ(Ask(source, 8, 8), "8");
  EXPECT_EQ(Ask(source, 11, 2), "2") << "cut out of a block";
  EXPECT_EQ(Ask(source, 16, 8), "0 medium 031100 at 16");
  EXPECT_EQ(Ask(source, 19, 3), "0 medium 031100 at 19");
  EXPECT_EQ(drive->TakeLog(),
            "scsi 28 00 00 00 00 0B 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0B 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0C 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0C 00 00 01 00 in 4096");
  // Where that is not known, or no whole block, no command is sent.
  for (const std::optional<u64> start : {std::optional<u64>(), std::optional<u64>(512)}) {
    drive->partitionStartBytes = start;
    drive->onScsi = nullptr;
    const Source other = Open(*drive, {.passThrough = PassThrough::kOn});
    drive->TakeLog();
    EXPECT_EQ(Ask(other, 8, 8), "8");
    EXPECT_EQ(drive->TakeLog(), "read 4096+4096");
  }
}

TEST_F(AskedSourceTest, FarBlocksAreReadByTheLongCommand) {
  const u64 last = (u64{1} << 32) + 1;
  fakes::SimulatedDrive* drive = MakeScsiDrive(512, last + 1);
  const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
  drive->TakeLog();
  EXPECT_EQ(Ask(source, last - 2, 1), "1");
  EXPECT_EQ(Ask(source, last - 2, 3), "3");
  EXPECT_EQ(drive->TakeLog(),
            "scsi 28 00 FF FF FF FF 00 00 01 00 in 512\n"
            "scsi 88 00 00 00 00 00 FF FF FF FF 00 00 00 03 00 00 in 1536");
}

// What has no connection for SCSI commands is never sent any.
TEST_F(AskedSourceTest, OtherDevicesAreReadThroughTheKernelOnly) {
  for (const u32 bus : {0u, 12u, 13u, 14u, 15u, 17u}) {
    fakes::SimulatedDrive* drive = MakeScsiDrive();
    drive->bus = bus;
    const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
    EXPECT_EQ(Ask(source, 0, 8), "8");
    EXPECT_EQ(drive->TakeLog().find("scsi 28"), std::string::npos) << bus;
  }
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

TEST_F(AskedSourceTest, ADriveThatHangs) {
  fakes::SimulatedDrive* drive = MakeScsiDrive();
  const Source source = Open(*drive, {.timeoutSeconds = 7});
  drive->readSeconds = 7;
  drive->hangs = true;
  EXPECT_EQ(Ask(source, 0, 8), "0 transport");
  EXPECT_EQ(Ask(source, 0, 8), "0 transport");
  EXPECT_EQ(drive->secondsWaited, 7u) << "our time, and no second try";
  drive->hangs = false;
  EXPECT_EQ(Ask(source, 0, 8), "8");
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

TEST_F(AskedSourceTest, AnOpticalDriveByItsSenseData) {
  const struct {
    u8 key, asc;
    const char* answer;
  } cases[] = {{3, 0x11, "0 medium 031100"}, {2, 0x3A, "0 gone 023a00"},
               {6, 0x28, "0 gone 062800"},   {6, 0x29, "0 transport 062900"},
               {4, 0, "0 transport 040000"}, {2, 4, "0 gone 020400"}};
  for (const auto& c : cases) {
    fakes::SimulatedDrive* drive = MakeDrive(2048, 100);
    drive->isOptical = true;
    drive->isRemovable = true;
    drive->failing = {50};
    drive->readSeconds = 10;
    drive->bus = 2;
    const Source source = Open(*drive);
    EXPECT_EQ(Ask(source, 192, 128), "0 unclear");
    drive->TakeLog();
    drive->senseOf = [&](u64) { return fakes::FixedSense(c.key, c.asc, 0); };
    EXPECT_EQ(Ask(source, 196, 4), "4");
    EXPECT_EQ(Ask(source, 200, 4), c.answer);
    EXPECT_EQ(drive->TakeLog(),
              "scsi BE 00 00 00 00 31 00 00 01 10 00 00 in 2352\n"
              "scsi BE 00 00 00 00 32 00 00 01 10 00 00 in 2352");
  }
}

// A DVD: only the plain command.
TEST_F(AskedSourceTest, AnOpticalDriveWithoutRawReading) {
  fakes::SimulatedDrive* drive = MakeScsiDrive(2048, 100);
  drive->isOptical = true;
  drive->isRemovable = true;
  drive->onScsi = [](const fakes::ScsiAsked& asked) -> std::optional<fakes::ScsiReply> {
    if (asked.cdb[0] != 0xBE) return std::nullopt;
    return fakes::ScsiReply{.status = 2, .sense = fakes::FixedSense(5, 0x20, 0)};
  };
  const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
  drive->TakeLog();
  EXPECT_EQ(Ask(source, 4, 4), "4");
  EXPECT_EQ(Ask(source, 8, 4), "4");
  EXPECT_EQ(Ask(source, 4, 8), "8");
  EXPECT_EQ(drive->TakeLog(),
            "scsi BE 00 00 00 00 01 00 00 01 10 00 00 in 2352\n"
            "scsi 28 00 00 00 00 01 00 00 01 00 in 2048\n"
            "scsi 28 00 00 00 00 02 00 00 01 00 in 2048\n"
            "scsi 28 00 00 00 00 01 00 00 02 00 in 4096");
}

// The system gives such drives no size, or a wrong one; they say it themselves.
TEST_F(AskedSourceTest, SectorsOfOddSizes) {
  for (const u32 sectorBytes : {520u, 528u}) {
    for (const u64 told : {u64{0}, u64{4000} * sectorBytes}) {
      fakes::SimulatedDrive* drive = MakeScsiDrive(sectorBytes);
      drive->lengthBytes = told;
      drive->geometrySectorBytes = 512;
      drive->failing = {100};
      drive->senseOf = [](u64) { return fakes::FixedSenseAt(100, 3, 0x11, 0); };
      const Source source = Open(*drive, {.passThrough = PassThrough::kOff});
      EXPECT_EQ(source.sectors, 4000u);
      EXPECT_EQ(source.asked->Identity().logicalSectorBytes, sectorBytes);
      EXPECT_EQ(source.asked->Identity().physicalSectorBytes, 512u);
      drive->TakeLog();
      EXPECT_EQ(Ask(source, 101, 128), "128");
      EXPECT_EQ(Ask(source, 99, 2), "0 medium 031100 at 100");
      EXPECT_EQ(Ask(source, 3999, 1), "1");
      EXPECT_EQ(drive->TakeLog().find("read"), std::string::npos);
      drive->onScsi = [](const auto&) {
        return fakes::ScsiReply{.status = 2, .sense = fakes::FixedSense(5, 0x20, 0)};
      };
      for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(Ask(source, 0, 1), "0 system") << "there is no other way";
      }
      EXPECT_EQ(drive->TakeLog().find("read"), std::string::npos);
    }
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

TEST_F(AskedSourceTest, OpeningThatFailsIsNoRefusal) {
  for (const FailureKind kind : {FailureKind::kSystem, FailureKind::kGone}) {
    fakes::SimulatedDrive* drive = MakeScsiDrive();
    drive->failing = {0};
    const Source source = Open(*drive);
    drive->openError = fakes::SimulatedDrive::CodeOf(kind);
    EXPECT_EQ(Ask(source, 0, 8), "0 unclear") << "no commands then";
    EXPECT_EQ(Ask(source, 8, 8), "8");
    EXPECT_FALSE(source.asked->Reconnect(0));
    EXPECT_EQ(Ask(source, 8, 8), "0 gone");
    drive->openError.reset();
    EXPECT_TRUE(source.asked->Reconnect(0));
    EXPECT_EQ(Ask(source, 8, 8), "8");
  }
}

}  // namespace
}  // namespace larkspur
