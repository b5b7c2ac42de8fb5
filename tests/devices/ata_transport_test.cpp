// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The ways by which ATA commands reach a drive: every byte that is sent, and what is made of the
// answers.

#include "devices/ata_transport.h"

#include <algorithm>
#include <functional>

#include "base/endian.h"
#include "devices/device_test.h"

namespace larkspur {
namespace {

using fakes::AtaReply;
using fakes::Hex;
using fakes::ScsiReply;

class AtaTransport : public DeviceTest {
 protected:
  AtaTransport() { m_drive->TakeLog(); }

  void PrepareIdentify() {
    m_command.registers[kCount] = 1;
    m_command.registers[kCommand] = 0xEC;
    PrepareData(kDataIn);
  }
  void PrepareData(u32 direction) {
    m_command.direction = direction;
    m_command.buffer = m_data;
    m_command.length = 512;
    m_command.registers[kCount] = 1;
  }
  // All registers different, with upper halves.
  void Prepare48Bit() {
    m_command.registers = {1, 2, 3, 4, 5, 6, 7};
    m_command.previous = {0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17};
    m_command.previousMask.fill(1);
    m_command.wanted.fill(1);
  }
  void PrepareSmartStatus() {
    m_command.registers = {0xDA, 0, 0, 0x4F, 0xC2, 0, 0xB0};
    m_command.wanted.fill(1);
  }
  void Reply(const ScsiReply& reply) {
    m_drive->onScsi = [reply](const fakes::ScsiAsked&) { return reply; };
  }
  bool Execute(cATATransport& transport) {
    m_result = {};
    return transport.Execute(*m_device, m_command, m_result);
  }
  std::string Result() { return Hex(m_result.registers) + " | " + Hex(m_result.previous); }

  fakes::SimulatedDrive* m_drive = m_devices.Add(u"disk");
  std::unique_ptr<platform::Device> m_device = OpenDrive(*m_drive);
  u8 m_data[512] = {};
  AtaCommand m_command, m_result;
};

// The system's own driver.

class GenericTransport : public AtaTransport {
 protected:
  void ReplyAta(const AtaReply& reply) {
    m_drive->onAta = [reply](auto) { return reply; };
  }
  cGEN_ATATransport m_transport;
};

TEST_F(GenericTransport, IdentifyGivesDataAndRegisters) {
  PrepareIdentify();
  ReplyAta({.data = std::vector<u8>(512, 0x5A), .current = {1, 2, 3, 4, 5, 6, 0x50, 0}});
  EXPECT_TRUE(Execute(m_transport));
  EXPECT_EQ(m_drive->TakeLog(), "ata 00 01 00 00 00 00 EC");
  EXPECT_TRUE(std::all_of(m_data, m_data + 512, [](u8 byte) { return byte == 0x5A; }));
  EXPECT_EQ(Result(), "01 02 03 04 05 06 50 | 00 00 00 00 00 00 00");
}

TEST_F(GenericTransport, UpperHalvesGoAndComeBack) {
  Prepare48Bit();
  ReplyAta({.previous = {1, 2, 3, 4, 5, 6, 7, 8}, .current = {9, 8, 7, 6, 5, 4, 0x50, 2}});
  EXPECT_TRUE(Execute(m_transport));
  EXPECT_EQ(Hex(m_drive->lastRequest),
            "30 00 08 00 00 00 00 00 00 00 00 00 0A 00 00 00 00 00 00 00 00 00 00 00 "
            "34 00 00 00 00 00 00 00 11 12 13 14 15 16 17 00 01 02 03 04 05 06 07 00 00 00 00 00");
  EXPECT_EQ(Result(), "09 08 07 06 05 04 50 | 00 02 03 04 05 00 00");
}

TEST_F(GenericTransport, ADriveWithoutPowerIsAskedForNoSectors) {
  for (const auto& [power, count] :
       {std::pair<std::optional<bool>, u8>{std::nullopt, 1}, {true, 1}, {false, 0}}) {
    m_drive->isPowered = power;
    PrepareIdentify();
    ReplyAta({.data = {1}});
    EXPECT_TRUE(Execute(m_transport));
    EXPECT_EQ(m_drive->lastRequest[41], count);
  }
}

TEST_F(GenericTransport, AnswersThatDoNotCount) {
  const std::vector<u8> data(512, 1);
  const struct {
    const char* name;
    AtaReply reply;
  } cases[] = {
      {"the driver fails", {.fails = true}},
      {"error", {.data = data, .current = {0, 0, 0, 0, 0, 0, 0x51, 0}}},
      {"data still requested", {.data = data, .current = {0, 0, 0, 0, 0, 0, 0x58, 0}}},
      {"a byte less", {.data = data, .returned = 563}},
      {"the head only", {.data = data, .returned = 52}},
      {"nothing was transferred", {}},
  };
  for (const auto& c : cases) {
    PrepareIdentify();
    ReplyAta(c.reply);
    m_drive->TakeLog();
    EXPECT_FALSE(Execute(m_transport)) << c.name;
    EXPECT_EQ(m_drive->TakeLog(), "ata 00 01 00 00 00 00 EC\nide 00 01 00 00 00 00 EC") << c.name;
  }
}

TEST_F(GenericTransport, TheOlderRequestGivesItsDataAndFailsAllTheSame) {
  PrepareIdentify();
  ReplyAta({.fails = true});
  m_drive->onIde = [](auto) {
    return AtaReply{.data = std::vector<u8>(512, 3), .current = {7, 6, 5, 4, 3, 2, 0x50, 0}};
  };
  EXPECT_FALSE(Execute(m_transport));
  EXPECT_EQ(m_data[511], 3);
  EXPECT_EQ(Result().substr(0, 20), "07 06 05 04 03 02 50");
}

TEST_F(GenericTransport, DataOutAreSentAndHaveNoOlderRequest) {
  PrepareData(kDataOut);
  std::fill(std::begin(m_data), std::end(m_data), u8{0x77});
  ReplyAta({});
  EXPECT_TRUE(Execute(m_transport));
  EXPECT_EQ(m_drive->lastRequest[2], 4);
  EXPECT_EQ(m_drive->lastRequest[52], 0x77);
  EXPECT_EQ(m_drive->lastRequest[563], 0x77);
  m_drive->TakeLog();
  ReplyAta({.fails = true});
  EXPECT_FALSE(Execute(m_transport));
  EXPECT_EQ(m_drive->TakeLog(), "ata 00 01 00 00 00 00 00");
  m_command.length = 1024;
  m_command.registers[kCount] = 2;
  EXPECT_FALSE(Execute(m_transport));
  EXPECT_EQ(m_drive->TakeLog(), "") << "refused before it is sent";
}

// SCSI/ATA translation.

class SatTransport : public AtaTransport {
 protected:
  cSAT_ATATransport m_long{SatForm::k16Bytes}, m_short{SatForm::k12Bytes};
};

// What each form makes of one command.
TEST_F(SatTransport, EveryFormByteByByte) {
  cJMicron_ATATransport jmicron{JMicronForm::k12Bytes};
  cSUNPlus_ATATransport sunplus;
  const auto identify = [this] { PrepareIdentify(); };
  const auto out = [this] { PrepareData(kDataOut), m_command.registers[kDevice] = 0x40; };
  const auto large = [this] { Prepare48Bit(); };
  const struct {
    cATATransport* transport;
    std::function<void()> prepare;
    const char* sent;  // the last command
  } cases[] = {
      {&m_long, identify, "scsi 85 08 0E 00 00 00 01 00 00 00 00 00 00 00 EC 00 in 512"},
      {&m_short, identify, "scsi A1 08 0E 00 01 00 00 00 00 EC 00 00 in 512"},
      {&m_long, large, "scsi 85 07 2C 11 01 12 02 13 03 14 04 15 05 06 07 00"},
      {&m_short, large, "scsi A1 07 2C 01 02 03 04 05 06 07 00 00"},
      {&m_long, out, "scsi 85 0A 06 00 00 00 01 00 00 00 00 00 00 40 00 00 out 512"},
      {&jmicron, out, "scsi DF 00 00 02 00 00 01 00 00 00 F0 00 out 512"},
      {&sunplus, large, "scsi F8 00 23 00 00 01 02 03 04 05 00 00"},
  };
  m_drive->onScsi = [](const fakes::ScsiAsked& asked) {
    return asked.timeoutSeconds == 10 && asked.cdb[0] == 0xDF ? ScsiReply{.data = {0x40}}
           : asked.direction == 1                             ? ScsiReply{.data = {1, 2, 3}}
                                                              : ScsiReply{};
  };
  for (const auto& c : cases) {
    m_command = {};
    c.prepare();
    std::fill(std::begin(m_data), std::end(m_data), u8{0xEE});
    EXPECT_TRUE(Execute(*c.transport)) << c.sent;
    const std::string log = m_drive->TakeLog();
    EXPECT_EQ(log.substr(log.rfind('\n') + 1), c.sent);
    if (m_command.direction == kDataIn) {
      EXPECT_EQ(Hex({m_data, 4}), "01 02 03 00") << "the buffer is zeroed first";
    }
  }
}

constexpr const char* kNothing = "00 00 00 00 00 00 00 | 00 00 00 00 00 00 00";

TEST_F(SatTransport, WhatAnswersMean) {
  const std::string fixed = "70 00 01 E1 E2 E3 E4 0A 00 E5 E6 E7 00 ";
  const std::string ata = "09 0C 01 A1 B2 A2 B3 A3 B4 A4 B5 A5 A6 50",
                    head = "72 01 00 1D 00 00 00 ";
  const std::string both = "A1 A2 A3 A4 A5 A6 50 | 00 B2 B3 B4 B5 00 00";
  const std::string lower = "A1 A2 A3 A4 A5 A6 50 | 00 00 00 00 00 00 00";
  const struct {
    const char* name;
    u8 status;
    std::string sense;
    bool is48Bit, wantsRegisters, succeeds;
    std::string result;
  } cases[] = {
      {"no sense", 0, "", true, true, true, kNothing},
      {"busy", 8, "70 00 0B", true, true, true, kNothing},
      {"sense of no known form", 2, "00 00 05 00 00 00 00 0A", true, true, true, kNothing},
      {"registers by descriptor", 2, head + "0E " + ata, true, true, true, both},
      {"of a 28-bit command", 2, head + "0E " + ata, false, true, true, lower},
      {"after another descriptor", 2,
       head + "14 01 04 00 00 00 00 09 0C 00 A1 00 A2 00 A3 00 A4 00 A5 A6 50", false, true, true,
       lower},
      {"a descriptor that is cut", 2, head + "0C " + ata.substr(0, 35), true, true, true, kNothing},
      {"no ATA descriptor", 2, head + "04 01 02 00 00", true, true, true, kNothing},
      {"descriptors without an end", 2, head + "FF 01 FE" + ata.substr(5), true, true, true,
       kNothing},
      {"registers in fixed form", 2, fixed + "1D", true, true, true,
       "E1 E4 E5 E6 E7 E3 E2 | 00 00 00 00 00 00 00"},
      {"fixed form of something else", 2, fixed + "00", true, true, true, kNothing},
      {"unwanted registers", 2, head + "0E " + ata, false, false, false, kNothing},
      {"aborted", 2, "72 0B 00 00 00 00 00 00", true, true, false, kNothing},
      {"unknown command", 2, "70 00 05 00 00 00 00 0A 00 00 00 00 20 00", false, true, false,
       kNothing},
      {"a key of no meaning", 2, "72 0D 00 00 00 00 00 00", true, true, false, kNothing},
  };
  for (const auto& c : cases) {
    m_command = {};
    m_command.registers[kCommand] = 0xE5;
    if (c.is48Bit) m_command.previousMask.fill(1);
    if (c.wantsRegisters) m_command.wanted.fill(1);
    Reply({.status = c.status, .sense = fakes::Bytes(c.sense)});
    EXPECT_EQ(Execute(m_long), c.succeeds) << c.name;
    EXPECT_EQ(Result(), c.result) << c.name;
  }
}

TEST_F(SatTransport, FixedFormSaysWhetherUpperHalvesHeldSomething) {
  for (const int flags : {0x00, 0x20, 0x40, 0x60, 0x80}) {
    m_command = {};
    m_command.previousMask.fill(1);
    m_command.wanted.fill(1);
    auto sense = fakes::Bytes("70 00 01 E1 E2 E3 E4 0A 00 E5 E6 E7 00 1D 00 00 00 00");
    sense[8] = static_cast<u8>(flags);
    Reply({.status = 2, .sense = sense});
    m_result = {};
    m_result.previous.fill(9);
    EXPECT_TRUE(m_long.Execute(*m_device, m_command, m_result));
    EXPECT_EQ(Hex(m_result.previous),
              flags & 0x60 ? "09 09 09 09 09 09 09" : "09 00 00 00 00 09 09")
        << flags;
  }
}

// JMicron bridges.

class JMicronTransport : public AtaTransport {
 protected:
  // Answers the question for the port and everything else.
  void ReplyPort(u8 port, const ScsiReply& reply) {
    m_drive->onScsi = [port, reply](const fakes::ScsiAsked& asked) {
      return asked.timeoutSeconds == 10 ? ScsiReply{.data = {port}} : reply;
    };
  }
  cJMicron_ATATransport m_short{JMicronForm::k12Bytes}, m_long{JMicronForm::k14Bytes};
};

TEST_F(JMicronTransport, AsksForThePortOnce) {
  PrepareIdentify();
  ReplyPort(0x40, {.data = {1}});
  EXPECT_TRUE(Execute(m_short));
  EXPECT_EQ(m_drive->TakeLog(),
            "scsi DF 10 00 00 01 00 72 0F 00 00 00 FD in 1\n"
            "scsi DF 10 00 02 00 00 01 00 00 00 B0 EC in 512");
  EXPECT_TRUE(Execute(m_short));
  EXPECT_EQ(m_drive->TakeLog(), "scsi DF 10 00 02 00 00 01 00 00 00 B0 EC in 512");
}

TEST_F(JMicronTransport, TheLongFormAndTheOtherPort) {
  PrepareIdentify();
  for (const int port : {0x00, 0x04, 0x44, 0xBB}) {
    cJMicron_ATATransport transport{JMicronForm::k14Bytes};
    ReplyPort(static_cast<u8>(port), {.data = {1}});
    EXPECT_TRUE(Execute(transport));
    EXPECT_EQ(m_drive->TakeLog(),
              "scsi DF 10 00 00 01 00 72 0F 00 00 00 FD 06 7B in 1\n"
              "scsi DF 10 00 02 00 00 01 00 00 00 A0 EC 06 7B in 512");
  }
  cJMicron_ATATransport transport{JMicronForm::k14Bytes};
  Reply({.status = 2, .sense = fakes::FixedSense(5, 0x20, 0)});
  EXPECT_FALSE(Execute(transport));
  EXPECT_NE(m_drive->TakeLog().find(" A0 EC "), std::string::npos)
      << "without an answer it is the first port";
}

TEST_F(JMicronTransport, SmartStatusIsOneByte) {
  const struct {
    u8 answer;
    bool succeeds;
    const char* result;
  } cases[] = {{0x2C, true, "00 00 00 F4 2C 00 00"},
               {0xC2, true, "00 00 00 4F C2 00 00"},
               {0x00, false, "00 00 00 00 00 00 00"},
               {0xFF, false, "00 00 00 00 00 00 00"}};
  PrepareSmartStatus();
  for (const auto& c : cases) {
    m_drive->onScsi = [&c](const fakes::ScsiAsked& asked) {
      return ScsiReply{.data = {asked.timeoutSeconds == 10 ? u8{0x40} : c.answer}};
    };
    EXPECT_EQ(Execute(m_short), c.succeeds);
    EXPECT_EQ(Hex(m_result.registers), c.result);
  }
  EXPECT_NE(m_drive->TakeLog().find("scsi DF 10 00 00 00 DA 00 00 4F C2 B0 B0 in 1"),
            std::string::npos);
  Reply({.data = {0xC2}, .lost = 1});
  EXPECT_FALSE(Execute(m_short)) << "no byte came";
  Reply({.data = {}});
  EXPECT_FALSE(Execute(m_short));
  m_command.wanted = {};
  EXPECT_TRUE(Execute(m_short)) << "without an answer there is nothing to take";
}

// Sunplus bridges.

class SunplusTransport : public AtaTransport {
 protected:
  cSUNPlus_ATATransport m_transport;
};

TEST_F(SunplusTransport, IdentifyByteByByte) {
  PrepareIdentify();
  Reply({.status = 2, .sense = fakes::FixedSense(5, 0x20, 0)});
  EXPECT_TRUE(Execute(m_transport)) << "sense data are not looked at";
  EXPECT_EQ(m_drive->TakeLog(), "scsi F8 00 22 10 01 00 01 00 00 00 A0 EC in 512");
  EXPECT_EQ(Result(), kNothing);
}

TEST_F(SunplusTransport, RegistersAreASecondCommand) {
  PrepareSmartStatus();
  Reply({.data = {0, 1, 2, 3, 4, 5, 6, 7}});
  EXPECT_TRUE(Execute(m_transport));
  EXPECT_EQ(m_drive->TakeLog(),
            "scsi F8 00 22 00 00 DA 00 00 4F C2 A0 B0\n"
            "scsi F8 00 21 00 00 00 00 00 00 00 00 00 in 8");
  EXPECT_EQ(Hex(m_result.registers), "01 02 03 04 05 06 07");
  Reply({.error = 31});
  EXPECT_FALSE(Execute(m_transport));
}

TEST_F(SunplusTransport, DataOutAreZeroedBeforeTheyAreSent) {
  PrepareData(kDataOut);
  std::fill(std::begin(m_data), std::end(m_data), u8{0x77});
  Reply({});
  EXPECT_TRUE(Execute(m_transport));
  EXPECT_EQ(m_drive->TakeLog(), "scsi F8 00 22 11 01 00 01 00 00 00 A0 00 out 512");
  EXPECT_TRUE(std::all_of(m_data, m_data + 512, [](u8 byte) { return byte == 0; }));
}

}  // namespace
}  // namespace larkspur
