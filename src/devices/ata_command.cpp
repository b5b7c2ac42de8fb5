// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/ata_command.h"

namespace larkspur {
namespace {

bool LengthFits(const AtaCommand& command) {
  switch (command.direction) {
    case kNoData:
      return command.length == 0;
    case kDataIn:
    case kDataOut:
      return command.length ==
             (command.registers[kCount] + command.previous[kCount] * u64{256}) * kSectorBytes;
  }
  return false;
}

bool MayReturnRegisters(const AtaCommand& command, u32 capabilities) {
  return (capabilities & kReturnsRegisters) ||
         ((capabilities & kReturnsSmartStatus) && command.IsSmartReturnStatus());
}

bool MayBe48Bit(const AtaCommand& command, u32 capabilities) {
  AtaRegisters others = command.previousMask;
  others[kDevice] = 0;
  others[kCommand] = 0;
  const bool onlyDeviceHalves = others == AtaRegisters{};
  return capabilities & (onlyDeviceHalves ? kTakesDeviceHalves | kTakes48Bit : kTakes48Bit);
}

}  // namespace

bool Validate(const AtaCommand& command, u32 capabilities) {
  if (!LengthFits(command)) return false;
  if (command.direction == kDataOut && !(capabilities & kTakesDataOut)) return false;
  if (command.WantsRegisters() && !MayReturnRegisters(command, capabilities)) return false;
  const bool usualLength = command.length == 0 || command.length == kSectorBytes;
  if (!usualLength && !(capabilities & kTakesAnyLength)) return false;
  return !command.Is48Bit() || MayBe48Bit(command, capabilities);
}

}  // namespace larkspur
