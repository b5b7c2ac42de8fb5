// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "devices/ata_transport.h"
#include "devices/scsi_command.h"
#include "platform/ata_in_scsi.h"

namespace larkspur {
namespace {

constexpr u32 kTimeoutSeconds = 20;

// Fixed sense data that answer CK_COND (ata_in_scsi.h has those by descriptors):
//   3 error  4 status  5 device  6 count  8 what the upper halves held  9, 10, 11 LBA
constexpr u8 kFixedSense = 0x70;
constexpr u8 kDescriptorSense = 0x72;
constexpr u8 kUpperHalvesHeldSomething = 0x60;
constexpr u8 kAtaInfoAsc = 0x00;
constexpr u8 kAtaInfoAscq = 0x1D;

void Fill12(const AtaCommand& command, const platform::AtaTransfer& transfer, ScsiCommand* scsi) {
  scsi->cdbLength = 12;
  scsi->cdb[0] = 0xA1;
  platform::FillAtaTransfer(transfer, scsi->cdb.data());
  std::copy(command.registers.begin(), command.registers.end(), scsi->cdb.begin() + 3);
}

void Fill16(const AtaCommand& command, const platform::AtaTransfer& transfer, ScsiCommand* scsi) {
  scsi->cdbLength = 16;
  platform::FillAta16(transfer, command.previous.data(), command.registers.data(),
                      scsi->cdb.data());
}

void TakeDescriptor(const u8* descriptor, bool is48Bit, AtaCommand* result) {
  AtaRegisters unused;
  AtaRegisters& previous = is48Bit ? result->previous : unused;
  platform::TakeAtaReturn(descriptor, previous.data(), result->registers.data());
}

void TakeFixed(const std::array<u8, 32>& sense, bool is48Bit, AtaCommand* result) {
  result->registers = {sense[3], sense[6], sense[9], sense[10], sense[11], sense[5], sense[4]};
  if (!is48Bit || (sense[8] & kUpperHalvesHeldSomething)) return;
  std::fill(result->previous.begin() + kCount, result->previous.begin() + kDevice, u8{0});
}

void TakeRegisters(const ScsiCommand& scsi, bool is48Bit, AtaCommand* result) {
  if (scsi.ResponseCode() >= kDescriptorSense) {
    const auto sense = std::span(scsi.sense).first(scsi.senseLength);
    if (const u8* found = platform::FindAtaReturn(sense)) TakeDescriptor(found, is48Bit, result);
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
  const platform::AtaTransfer transfer{.hasData = command.direction != kNoData,
                                       .isOut = command.direction == kDataOut,
                                       .is48Bit = command.Is48Bit(),
                                       .wantsRegisters = command.WantsRegisters()};
  m_form == SatForm::k12Bytes ? Fill12(command, transfer, &scsi) : Fill16(command, transfer, &scsi);
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
