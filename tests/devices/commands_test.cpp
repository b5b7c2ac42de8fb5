// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// ATA and SCSI commands: what may be sent, every byte of a request, and what is made of answers.

#include <algorithm>

#include <gtest/gtest.h>

#include "devices/ata_command.h"
#include "devices/ata_transport.h"
#include "devices/device_test.h"
#include "devices/scsi_requests.h"

namespace larkspur {
namespace {

struct ValidateCase {
  const char* name;
  u32 direction;
  u8 count, previousCount;
  u64 length;
  bool wantsRegisters;
  u8 command, features;
  AtaRegisters previousMask;
  // By generic, SAT, JMicron, Sunplus.
  bool generic, sat, jmicron, sunplus;
};

constexpr AtaRegisters k28Bit{};
constexpr AtaRegisters k48Bit{0, 1, 0, 0, 0, 0, 0};
constexpr AtaRegisters kHalves{0, 0, 0, 0, 0, 1, 1};

constexpr ValidateCase kCases[] = {
    {"no data", kNoData, 0, 0, 0, false, 0xE7, 0, k28Bit, true, true, true, true},
    {"no data but a length", kNoData, 1, 0, 512, false, 0xE7, 0, k28Bit, 0, 0, 0, 0},
    {"one sector in", kDataIn, 1, 0, 512, false, 0xEC, 0, k28Bit, true, true, true, true},
    {"two sectors in", kDataIn, 2, 0, 1024, false, 0x20, 0, k28Bit, false, true, false, false},
    {"nothing in", kDataIn, 0, 0, 0, false, 0x20, 0, k28Bit, true, true, true, true},
    {"a length short of the count", kDataIn, 2, 0, 512, false, 0x20, 0, k28Bit, 0, 0, 0, 0},
    {"the upper half counts", kDataIn, 0, 1, 131072, false, 0x24, 0, k48Bit, 0, true, 0, 0},
    {"one sector out", kDataOut, 1, 0, 512, false, 0x30, 0, k28Bit, true, true, true, true},
    {"no such direction", 3, 1, 0, 512, false, 0xEC, 0, k28Bit, 0, 0, 0, 0},
    {"registers wanted", kNoData, 0, 0, 0, true, 0xE5, 0, k28Bit, true, true, false, true},
    {"SMART status wanted", kNoData, 0, 0, 0, true, 0xB0, 0xDA, k28Bit, true, true, true, true},
    {"another SMART feature", kNoData, 0, 0, 0, true, 0xB0, 0xD8, k28Bit, true, true, false, true},
    {"48-bit", kNoData, 0, 0, 0, false, 0xEA, 0, k48Bit, true, true, true, true},
    {"48-bit, device and command", kNoData, 0, 0, 0, false, 0xEA, 0, kHalves, true, true, true,
     true},
};

TEST(AtaCommand, EachTransportTakesWhatItCan) {
  for (const ValidateCase& c : kCases) {
    AtaCommand command;
    command.direction = c.direction;
    command.registers[kCount] = c.count;
    command.previous[kCount] = c.previousCount;
    command.length = c.length;
    command.wanted[kStatus] = c.wantsRegisters;
    command.registers[kCommand] = c.command;
    command.registers[kFeatures] = c.features;
    command.previousMask = c.previousMask;
    EXPECT_EQ(Validate(command, cGEN_ATATransport::kCapabilities), c.generic) << c.name;
    EXPECT_EQ(Validate(command, cSAT_ATATransport::kCapabilities), c.sat) << c.name;
    EXPECT_EQ(Validate(command, cJMicron_ATATransport::kCapabilities), c.jmicron) << c.name;
    EXPECT_EQ(Validate(command, cSUNPlus_ATATransport::kCapabilities), c.sunplus) << c.name;
  }
}

TEST(AtaCommand, EachCapabilityAlone) {
  AtaCommand out, halves, large;
  out.direction = kDataOut;
  out.registers[kCount] = 1;
  out.length = 512;
  halves.previousMask = kHalves;
  large.previousMask = k48Bit;
  EXPECT_FALSE(Validate(out, ~u32{kTakesDataOut}));
  EXPECT_TRUE(Validate(halves, kTakesDeviceHalves));
  EXPECT_TRUE(Validate(halves, kTakes48Bit));
  EXPECT_FALSE(Validate(halves, 0));
  EXPECT_FALSE(Validate(large, kTakesDeviceHalves));
  EXPECT_TRUE(Validate(large, kTakes48Bit));
}

using Outcome = ScsiOutcome;

struct SenseCase {
  const char* sense;  // hexadecimal
  u32 length;         // sense bytes that came
  u8 status;
  u32 key, asc, ascq;
  Outcome outcome;
};

constexpr SenseCase kSenses[] = {
    {"70 00 02 00 00 00 00 0A 00 00 00 00 3A 00", 18, 2, 2, 0x3A, 0x00, Outcome::kNoMedium},
    {"70 00 02 00 00 00 00 0A 00 00 00 00 04 01", 18, 2, 2, 0x04, 0x01, Outcome::kBecomingReady},
    {"70 00 02 00 00 00 00 0A 00 00 00 00 04 02", 18, 2, 2, 0x04, 0x02, Outcome::kNotReady},
    {"71 00 02 00 00 00 00 0A 00 00 00 00 3A 00", 18, 2, 2, 0x3A, 0x00, Outcome::kNoMedium},
    {"F0 00 03 00 00 00 00 0A 00 00 00 00 11 00", 18, 2, 3, 0x11, 0x00, Outcome::kMediumOrHardware},
    {"70 00 04 00 00 00 00 0A 00 00 00 00 44 00", 18, 2, 4, 0x44, 0x00, Outcome::kMediumOrHardware},
    {"70 00 05 00 00 00 00 0A 00 00 00 00 20 00", 18, 2, 5, 0x20, 0x00, Outcome::kUnknownCommand},
    {"70 00 05 00 00 00 00 0A 00 00 00 00 24 00", 18, 2, 5, 0x24, 0x00, Outcome::kInvalidField},
    {"70 00 05 00 00 00 00 0A 00 00 00 00 26 00", 18, 2, 5, 0x26, 0x00, Outcome::kIllegalRequest},
    {"70 00 06 00 00 00 00 0A 00 00 00 00 29 00", 18, 2, 6, 0x29, 0x00, Outcome::kUnitAttention},
    {"70 00 07 00 00 00 00 0A 00 00 00 00 27 00", 18, 2, 7, 0x27, 0x00, Outcome::kOther},
    {"70 00 0A 00 00 00 00 0A 00 00 00 00 00 00", 18, 2, 10, 0, 0, Outcome::kOther},
    {"70 00 0B 00 00 00 00 0A 00 00 00 00 47 00", 18, 2, 11, 0x47, 0, Outcome::kAborted},
    {"70 00 0C 00 00 00 00 0A 00 00 00 00 00 00", 18, 2, 12, 0, 0, Outcome::kNone},
    {"70 00 0F 00 00 00 00 0A 00 00 00 00 00 00", 18, 2, 15, 0, 0, Outcome::kNone},
    {"70 00 01 00 00 00 00 0A 00 00 00 00 00 1D", 18, 2, 1, 0x00, 0x1D, Outcome::kSuccess},
    {"70 00 E2 00 00 00 00 0A 00 00 00 00 3A 00", 18, 2, 2, 0x3A, 0x00, Outcome::kNoMedium},
    // Descriptor form.
    {"72 02 3A 00 00 00 00 00", 8, 2, 2, 0x3A, 0x00, Outcome::kNoMedium},
    {"73 F5 20 07 00 00 00 00", 8, 2, 5, 0x20, 0x07, Outcome::kUnknownCommand},
    {"7F 0B 00 00 00 00 00 00", 8, 2, 11, 0, 0, Outcome::kAborted},
    // Nothing that says anything.
    {"00 00 02 00 00 00 00 0A 00 00 00 00 3A 00", 18, 2, 0, 0, 0, Outcome::kSuccess},
    {"6F 00 02 00 00 00 00 0A 00 00 00 00 3A 00", 18, 2, 0, 0, 0, Outcome::kSuccess},
    // Only a check condition counts; a busy drive is no failure here.
    {"70 00 02 00 00 00 00 0A 00 00 00 00 3A 00", 18, 8, 0, 0, 0, Outcome::kSuccess},
    {"70 00 02 00 00 00 00 0A 00 00 00 00 3A 00", 18, 0, 0, 0, 0, Outcome::kSuccess},
};

TEST(ScsiCommand, SenseDataAndOutcomes) {
  for (const SenseCase& c : kSenses) {
    ScsiCommand command;
    command.status = c.status;
    command.senseLength = static_cast<u8>(c.length);
    const auto bytes = fakes::Bytes(c.sense);
    std::copy(bytes.begin(), bytes.end(), command.sense.begin());
    const SenseData sense = DecodeSense(command);
    EXPECT_EQ(std::tuple(sense.key, sense.asc, sense.ascq), std::tuple(c.key, c.asc, c.ascq))
        << c.sense;
    EXPECT_EQ(Classify(sense), c.outcome) << c.sense;
    EXPECT_EQ(HasSucceeded(command), c.outcome == Outcome::kSuccess) << c.sense;
  }
}

TEST(ScsiCommand, FixedSenseOfEveryLength) {
  for (u8 length = 0; length <= 32; ++length) {
    ScsiCommand command;
    command.status = 2;
    command.senseLength = length;
    const auto bytes = fakes::FixedSense(2, 0x3A, 0x01);
    std::copy(bytes.begin(), bytes.end(), command.sense.begin());
    const SenseData sense = DecodeSense(command);
    EXPECT_EQ(sense.asc, length < 14 ? 0 : 0x3A) << int{length};
    EXPECT_EQ(sense.ascq, length < 14 ? 0 : 0x01) << int{length};
    EXPECT_EQ(Classify(sense), length < 14 ? Outcome::kNotReady : Outcome::kNoMedium)
        << int{length};
  }
}

class ScsiRequest : public DeviceTest {
 protected:
  fakes::SimulatedDrive* m_drive = m_devices.Add(u"disk");
  std::unique_ptr<platform::Device> m_device = OpenDrive(*m_drive);
  ScsiCommand m_command;

  void Reply(const fakes::ScsiReply& reply) {
    m_drive->onScsi = [reply](const fakes::ScsiAsked&) { return reply; };
  }
  void PrepareInquiry(u8* buffer, u32 length) {
    m_command.cdb = {0x12, 0, 0, static_cast<u8>(length >> 8), static_cast<u8>(length), 0};
    m_command.cdbLength = 6;
    m_command.direction = kDataIn;
    m_command.buffer = buffer;
    m_command.length = length;
    m_command.timeoutSeconds = 20;
  }
};

TEST_F(ScsiRequest, TheSerialPageMustBeThatPage) {
  u8 data[512] = {};
  Reply({.data = {0, 0x83, 0, 1, 'X'}});
  EXPECT_FALSE(InquirySerial(*m_device, data));
  Reply({.data = {0}, .lost = 511});
  EXPECT_TRUE(InquirySerial(*m_device, data)) << "too short to tell";
  std::vector<u8> large(1024);
  EXPECT_TRUE(Inquiry(*m_device, std::span(large).first(1023)));
  EXPECT_FALSE(Inquiry(*m_device, large)) << "longer than any";
}

TEST_F(ScsiRequest, SenseOfEveryLengthIsCutToWhatThereIs) {
  u8 data[512];
  for (u32 additional = 0; additional <= 255; ++additional) {
    std::vector<u8> sense(64, 0x55);
    sense[7] = static_cast<u8>(additional);
    Reply({.status = 2, .sense = sense});
    PrepareInquiry(data, 512);
    ASSERT_TRUE(ExecuteScsi(*m_device, m_command));
    EXPECT_EQ(m_command.senseLength, std::min(additional + 8, 32u));
    const auto behind = m_command.sense.begin() + m_command.senseLength;
    EXPECT_TRUE(std::all_of(behind, m_command.sense.end(), [](u8 byte) { return byte == 0; }));
  }
  Reply({.status = 8, .sense = std::vector<u8>(64, 0x55)});
  ASSERT_TRUE(ExecuteScsi(*m_device, m_command));
  EXPECT_EQ(m_command.senseLength, 0u) << "no check condition, no sense";
}

TEST_F(ScsiRequest, FailuresAndWhatWasNotTransferred) {
  u8 data[512];
  PrepareInquiry(data, 512);
  Reply({.error = 0});
  EXPECT_TRUE(ExecuteScsi(*m_device, m_command)) << "the driver did not say what failed";
  Reply({.error = 31});
  EXPECT_FALSE(ExecuteScsi(*m_device, m_command));
  Reply({.lost = 476});
  ASSERT_TRUE(ExecuteScsi(*m_device, m_command));
  EXPECT_EQ(m_command.residual, 476u);
  Reply({.lost = 0xFFFFFFFF});  // more came than was asked for
  ASSERT_TRUE(ExecuteScsi(*m_device, m_command));
  EXPECT_EQ(m_command.residual, 0u);
}

}  // namespace
}  // namespace larkspur
