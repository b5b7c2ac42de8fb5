// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "devices/ata_transport.h"
#include "devices/scsi_command.h"

namespace larkspur {
namespace {

constexpr u32 kTimeoutSeconds = 20;
constexpr u8 kPassThrough = 0xDF;
constexpr u8 kFromDevice = 0x10;  // byte 1
constexpr u8 kUseMaster = 0xA0;
constexpr u8 kUseSlave = 0xB0;

// SMART RETURN STATUS gives one byte instead of registers.
constexpr u8 kNothingCame = 0xFF;
constexpr u8 kThresholdExceeded = 0x2C;
constexpr u8 kGood = 0xC2;

ScsiCommand Wrap(const AtaCommand& command, u32 cdbLength, u8 port) {
  const auto& r = command.registers;
  ScsiCommand scsi;
  scsi.cdbLength = cdbLength;
  scsi.cdb = {kPassThrough,
              command.direction == kDataOut ? u8{0} : kFromDevice,
              0,
              static_cast<u8>(command.length >> 8),
              static_cast<u8>(command.length),
              r[kFeatures],
              r[kCount],
              r[kLbaLow],
              r[kLbaMid],
              r[kLbaHigh],
              static_cast<u8>(r[kDevice] | port),
              r[kCommand],
              0x06,
              0x7B};
  scsi.direction = command.direction;
  scsi.buffer = command.buffer;
  scsi.length = static_cast<u32>(command.length);
  scsi.timeoutSeconds = kTimeoutSeconds;
  return scsi;
}

bool TakeSmartStatus(u8 answer, AtaCommand* result) {
  if (answer != kThresholdExceeded && answer != kGood) return false;
  result->registers[kLbaMid] = answer == kGood ? 0x4F : 0xF4;
  result->registers[kLbaHigh] = answer;
  return true;
}

}  // namespace

cJMicron_ATATransport::Port cJMicron_ATATransport::FindPort(platform::Device& device) const {
  u8 answer = 0;
  ScsiCommand scsi;
  scsi.cdb = {kPassThrough, kFromDevice, 0, 0, 1, 0, 0x72, 0x0F, 0, 0, 0, 0xFD, 0x06, 0x7B};
  scsi.cdbLength = CdbLength();
  scsi.direction = kDataIn;
  scsi.buffer = &answer;
  scsi.length = 1;
  const bool answered = ExecuteScsi(device, scsi) && HasSucceeded(scsi);
  return answered && (answer & 0x44) == 0x40 ? kSlave : kMaster;
}

bool cJMicron_ATATransport::Execute(platform::Device& device, const AtaCommand& command,
                                    AtaCommand& result) {
  if (!Validate(command, kCapabilities)) return false;
  if (m_port == kUnknownPort) m_port = FindPort(device);
  ScsiCommand scsi = Wrap(command, CdbLength(), m_port == kSlave ? kUseSlave : kUseMaster);
  const bool isStatus = command.IsSmartReturnStatus() && command.WantsRegisters();
  u8 status = kNothingCame;
  if (isStatus) {
    scsi.direction = kDataIn;
    scsi.buffer = &status;
    scsi.length = 1;
  } else if (command.direction == kDataIn) {
    std::fill_n(command.buffer, command.length, u8{0});
  }
  if (!ExecuteScsi(device, scsi) || !HasSucceeded(scsi)) return false;
  if (!isStatus) return true;
  return scsi.residual != 1 && TakeSmartStatus(status, &result);
}

}  // namespace larkspur
