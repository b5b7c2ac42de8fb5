// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/sat_ata_transport.h"

#include <algorithm>

#include "devices/scsi_command.h"

namespace larkspur {
namespace {

constexpr u32 kTimeoutSeconds = 20;

// Byte 1: protocol x 2 + EXTEND. Byte 2: CK_COND x 32 + T_DIR x 8 + BYTE_BLOCK x 4 + T_LENGTH.
enum Protocol : u32 { kNonData = 3, kPioIn = 4, kPioOut = 5 };
constexpr u32 kCheckCondition = 32;
constexpr u32 kFromDevice = 8;
constexpr u32 kInBlocks = 4;
constexpr u32 kLengthIsCount = 2;

// The sense data that answer CK_COND. By descriptors, in the one of type 9:
//   3 error  4, 5 count  6, 7 LBA low  8, 9 mid  10, 11 high  12 device  13 status
// (of a pair, the first is the 48-bit half); fixed:
//   3 error  4 status  5 device  6 count  8 what the upper halves held  9, 10, 11 LBA
constexpr u8 kFixedSense = 0x70;
constexpr u8 kDescriptorSense = 0x72;
constexpr u32 kFirstDescriptor = 8;
constexpr u32 kAtaReturnType = 9;
constexpr u32 kAtaReturnBytes = 14;
constexpr u8 kUpperHalvesHeldSomething = 0x60;
constexpr u8 kAtaInfoAsc = 0x00;
constexpr u8 kAtaInfoAscq = 0x1D;

Protocol ProtocolOf(const AtaCommand& command) {
  return command.direction == kNoData ? kNonData : command.direction == kDataIn ? kPioIn : kPioOut;
}

u8 TransferByte(const AtaCommand& command) {
  return static_cast<u8>((command.WantsRegisters() ? kCheckCondition : 0) |
                         (command.direction == kDataOut ? 0 : kFromDevice) | kInBlocks |
                         (command.direction == kNoData ? 0 : kLengthIsCount));
}

void Fill12(const AtaCommand& command, ScsiCommand* scsi) {
  scsi->cdbLength = 12;
  scsi->cdb[0] = 0xA1;
  std::copy(command.registers.begin(), command.registers.end(), scsi->cdb.begin() + 3);
}

void Fill16(const AtaCommand& command, ScsiCommand* scsi) {
  scsi->cdbLength = 16;
  scsi->cdb[0] = 0x85;
  for (u32 i = kFeatures; i <= kLbaHigh; ++i) {
    scsi->cdb[3 + 2 * i] = command.previous[i];
    scsi->cdb[4 + 2 * i] = command.registers[i];
  }
  scsi->cdb[13] = command.registers[kDevice];
  scsi->cdb[14] = command.registers[kCommand];
}

// The ATA Status Return descriptor; null when the sense data have none that is whole.
const u8* FindAtaReturn(const ScsiCommand& scsi) {
  if (scsi.senseLength < kFirstDescriptor) return nullptr;
  const u32 behind = scsi.senseLength - kFirstDescriptor;
  const u32 end = kFirstDescriptor + std::min<u32>(scsi.sense[7], behind);
  for (u32 at = kFirstDescriptor; at + 2 <= end; at += 2u + scsi.sense[at + 1]) {
    if (scsi.sense[at] == kAtaReturnType) {
      return at + kAtaReturnBytes <= end ? &scsi.sense[at] : nullptr;
    }
  }
  return nullptr;
}

void TakeDescriptor(const u8* d, bool is48Bit, AtaCommand* result) {
  result->registers = {d[3], d[5], d[7], d[9], d[11], d[12], d[13]};
  if (!is48Bit) return;
  for (u32 i = kCount; i <= kLbaHigh; ++i) result->previous[i] = d[2 + 2 * i];
}

void TakeFixed(const std::array<u8, 32>& sense, bool is48Bit, AtaCommand* result) {
  result->registers = {sense[3], sense[6], sense[9], sense[10], sense[11], sense[5], sense[4]};
  if (!is48Bit || (sense[8] & kUpperHalvesHeldSomething)) return;
  std::fill(result->previous.begin() + kCount, result->previous.begin() + kDevice, u8{0});
}

void TakeRegisters(const ScsiCommand& scsi, bool is48Bit, AtaCommand* result) {
  if (scsi.ResponseCode() >= kDescriptorSense) {
    if (const u8* found = FindAtaReturn(scsi)) TakeDescriptor(found, is48Bit, result);
    return;
  }
  const SenseData sense = DecodeSense(scsi);
  if (sense.asc == kAtaInfoAsc && sense.ascq == kAtaInfoAscq) {
    TakeFixed(scsi.sense, is48Bit, result);
  }
}

}  // namespace

bool cSAT_ATATransport::Execute(platform::Device& device, const AtaCommand& command,
                                AtaCommand& result) {
  if (!Validate(command, kCapabilities)) return false;
  ScsiCommand scsi;
  m_form == SatForm::k12Bytes ? Fill12(command, &scsi) : Fill16(command, &scsi);
  scsi.cdb[1] = static_cast<u8>(ProtocolOf(command) * 2 + command.Is48Bit());
  scsi.cdb[2] = TransferByte(command);
  scsi.direction = command.direction;
  scsi.buffer = command.buffer;
  scsi.length = static_cast<u32>(command.length);
  scsi.timeoutSeconds = kTimeoutSeconds;
  if (command.direction == kDataIn) std::fill_n(command.buffer, command.length, u8{0});
  if (!ExecuteScsi(device, scsi)) return false;
  if (scsi.senseLength == 0 || scsi.ResponseCode() < kFixedSense) return true;
  if (!HasSucceeded(scsi) || !command.WantsRegisters()) return false;
  TakeRegisters(scsi, command.Is48Bit(), &result);
  return true;
}

}  // namespace larkspur
