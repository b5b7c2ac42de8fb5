// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// An ATA command, and what a way of sending it can carry.

#include <array>

#include "base/types.h"

namespace larkspur {

enum AtaRegister : u32 {
  kFeatures = 0,
  kError = 0,  // the same place of a result
  kCount = 1,
  kLbaLow = 2,
  kLbaMid = 3,
  kLbaHigh = 4,
  kDevice = 5,
  kCommand = 6,
  kStatus = 6,
};
using AtaRegisters = std::array<u8, 7>;

enum DataDirection : u32 { kNoData = 0, kDataIn = 1, kDataOut = 2 };

// Describes a command and, in a second record, receives the registers returned.
struct AtaCommand {
  AtaRegisters registers{};
  AtaRegisters mask{};          // non-zero: the register is used
  AtaRegisters previous{};      // of a 48-bit command: the registers' upper halves
  AtaRegisters previousMask{};  // any non-zero byte makes it a 48-bit command
  AtaRegisters wanted{};        // any non-zero byte: the registers are wanted back
  u32 direction = kNoData;
  u8* buffer = nullptr;
  u64 length = 0;  // bytes

  bool Is48Bit() const { return previousMask != AtaRegisters{}; }
  bool WantsRegisters() const { return wanted != AtaRegisters{}; }
  // The only command whose answer is in its registers alone.
  bool IsSmartReturnStatus() const {
    return registers[kCommand] == 0xB0 && registers[kFeatures] == 0xDA;
  }
};

enum AtaCapability : u32 {
  kTakesDataOut = 1,
  kReturnsSmartStatus = 2,  // the registers of SMART RETURN STATUS, and no others
  kReturnsRegisters = 4,
  kTakesAnyLength = 8,      // not only 0 and 512
  kTakesDeviceHalves = 16,  // 48-bit commands whose upper halves are of device and command only
  kTakes48Bit = 32,
};

// Whether `command` makes sense and may be sent by what has those capabilities.
bool Validate(const AtaCommand& command, u32 capabilities);

}  // namespace larkspur
