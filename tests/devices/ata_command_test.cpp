// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/ata_command.h"

#include <gtest/gtest.h>

#include "devices/gen_ata_transport.h"
#include "devices/jmicron_ata_transport.h"
#include "devices/sat_ata_transport.h"
#include "devices/sunplus_ata_transport.h"

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
  AtaCommand out;
  out.direction = kDataOut;
  out.registers[kCount] = 1;
  out.length = 512;
  EXPECT_FALSE(Validate(out, ~u32{kTakesDataOut}));
  AtaCommand halves;
  halves.previousMask = kHalves;
  EXPECT_TRUE(Validate(halves, kTakesDeviceHalves));
  EXPECT_TRUE(Validate(halves, kTakes48Bit));
  EXPECT_FALSE(Validate(halves, 0));
  AtaCommand large;
  large.previousMask = k48Bit;
  EXPECT_FALSE(Validate(large, kTakesDeviceHalves));
  EXPECT_TRUE(Validate(large, kTakes48Bit));
}

}  // namespace
}  // namespace larkspur
