// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Devices that are read by commands of their own: when, by which, and what their sense data say.

#include "imaging/asked_source_test.h"

namespace larkspur {
namespace {

using AskedCommands = AskedSourceTest;

// Kernel first, commands from the first failure on; the drive names what is bad.
TEST_F(AskedCommands, CommandsReadFromTheFirstFailureOn) {
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

TEST_F(AskedCommands, WhenCommandsAreUsed) {
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
TEST_F(AskedCommands, SenseDataDecide) {
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
      {"a descriptor of another kind",
       sense({0x72, 3, 0x11, 0, 0, 0, 0, 12, 2, 10, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 103}),
       "0 medium 031100"},
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

TEST_F(AskedCommands, CommandsCountFromTheDrivesStart) {
  fakes::SimulatedDrive* drive = MakeScsiDrive(4096, 100);
  drive->partition = 2;
  drive->partitionStartBytes = 10 * 4096;
  const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
  drive->TakeLog();
  drive->senseOf = [](u64) { return fakes::FixedSenseAt(12, 3, 0x11, 0); };
  drive->onScsi = [&](const fakes::ScsiAsked& asked) -> std::optional<fakes::ScsiReply> {
    const u32 block = asked.cdb[5], end = block + asked.cdb[8];
    if (end <= 12) return fakes::ScsiReply{.data = drive->Content(block - 10, end - block)};
    return fakes::ScsiReply{.status = 2, .sense = fakes::FixedSenseAt(12, 3, 0x11, 0)};
  };
  EXPECT_EQ(Ask(source, 8, 8), "8");
  EXPECT_EQ(Ask(source, 11, 2), "2") << "cut out of a block";
  EXPECT_EQ(Ask(source, 16, 8), "0 medium 031100 at 16");
  EXPECT_EQ(Ask(source, 19, 3), "0 medium 031100 at 19");
  EXPECT_EQ(Ask(source, 8, 16), "0 medium 031100 at 16");
  EXPECT_EQ(drive->TakeLog(),
            "scsi 28 00 00 00 00 0B 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0B 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0C 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0C 00 00 01 00 in 4096\n"
            "scsi 28 00 00 00 00 0B 00 00 02 00 in 8192");
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

TEST_F(AskedCommands, FarBlocksAreReadByTheLongCommand) {
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
TEST_F(AskedCommands, OtherDevicesAreReadThroughTheKernelOnly) {
  for (const u32 bus : {0u, 12u, 13u, 14u, 15u, 17u}) {
    fakes::SimulatedDrive* drive = MakeScsiDrive();
    drive->bus = bus;
    const Source source = Open(*drive, {.passThrough = PassThrough::kOn});
    EXPECT_EQ(Ask(source, 0, 8), "8");
    EXPECT_EQ(drive->TakeLog().find("scsi 28"), std::string::npos) << bus;
  }
}

TEST_F(AskedCommands, ADriveThatHangs) {
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

TEST_F(AskedCommands, AnOpticalDriveByItsSenseData) {
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
TEST_F(AskedCommands, AnOpticalDriveWithoutRawReading) {
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
TEST_F(AskedCommands, SectorsOfOddSizes) {
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

TEST_F(AskedCommands, OpeningThatFailsIsNoRefusal) {
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
