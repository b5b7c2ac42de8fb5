// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/scsi_requests.h"

#include "base/endian.h"

namespace larkspur {
namespace {

using platform::Device;

constexpr u32 kTimeoutSeconds = 20;
constexpr u8 kSerialPage = 0x80;

// A command that reads into `data`; its CDB has the operation code only.
ScsiCommand Reading(u8 operation, u32 cdbLength, std::span<u8> data) {
  ScsiCommand command;
  command.cdb[0] = operation;
  command.cdbLength = cdbLength;
  command.direction = kDataIn;
  command.buffer = data.data();
  command.length = static_cast<u32>(data.size());
  command.timeoutSeconds = kTimeoutSeconds;
  return command;
}

bool Run(Device& device, ScsiCommand* command) {
  return ExecuteScsi(device, *command) && HasSucceeded(*command);
}

ScsiCommand InquiryInto(std::span<u8> data) {
  ScsiCommand command = Reading(0x12, 6, data);
  StoreBe16(&command.cdb[3], static_cast<u16>(data.size()));
  return command;
}

ScsiCommand Read10(u32 lba, u32 blocks, u32 blockBytes, u8* data) {
  ScsiCommand command = Reading(0x28, 10, {data, size_t{blocks} * blockBytes});
  StoreBe32(&command.cdb[2], lba);
  StoreBe16(&command.cdb[7], static_cast<u16>(blocks));
  return command;
}

ScsiCommand Read16(u64 lba, u32 blocks, u32 blockBytes, u8* data) {
  ScsiCommand command = Reading(0x88, 16, {data, size_t{blocks} * blockBytes});
  StoreBe64(&command.cdb[2], lba);
  StoreBe32(&command.cdb[10], blocks);
  return command;
}

u32 BytesRead(Device& device, ScsiCommand* command) {
  return Run(device, command) ? command->length - command->residual : 0;
}

}  // namespace

bool Inquiry(Device& device, std::span<u8> data) {
  if (data.size() > kMaxInquiryBytes) return false;
  ScsiCommand command = InquiryInto(data);
  return Run(device, &command);
}

bool InquirySerial(Device& device, std::span<u8> data) {
  if (data.size() > kMaxInquiryBytes) return false;
  ScsiCommand command = InquiryInto(data);
  command.cdb[1] = 1;
  command.cdb[2] = kSerialPage;
  if (!Run(device, &command)) return false;
  return command.length - command.residual < 2 || data[1] == kSerialPage;
}

std::optional<ScsiCapacity> ReadCapacity10(Device& device) {
  u8 data[8] = {};
  ScsiCommand command = Reading(0x25, 10, data);
  if (!Run(device, &command)) return std::nullopt;
  return ScsiCapacity{LoadBe32(data), LoadBe32(data + 4)};
}

std::optional<ScsiCapacity> ReadCapacity16(Device& device) {
  u8 data[32] = {};
  ScsiCommand command = Reading(0x9E, 16, data);
  command.cdb[1] = 0x10;
  command.cdb[13] = sizeof(data);
  if (!Run(device, &command)) return std::nullopt;
  return ScsiCapacity{LoadBe64(data), LoadBe32(data + 8)};
}

ScsiCommand ReadCommand(u64 lba, u32 blocks, u32 blockBytes, u8* data) {
  const bool isFar = lba + blocks > u64{1} << 32;
  return isFar ? Read16(lba, blocks, blockBytes, data)
               : Read10(static_cast<u32>(lba), blocks, blockBytes, data);
}

ScsiCommand ReadCdCommand(u32 lba, u8* data) {
  ScsiCommand command = Reading(0xBE, 12, {data, kRawSectorBytes});
  StoreBe32(&command.cdb[2], lba);
  command.cdb[8] = 1;     // blocks
  command.cdb[9] = 0x10;  // user data
  return command;
}

u32 ScsiRead10(Device& device, u32 lba, u32 sectors, u32 sectorBytes, u8* data) {
  ScsiCommand command = Read10(lba, sectors, sectorBytes, data);
  return BytesRead(device, &command);
}

u32 ScsiRead16(Device& device, u64 lba, u32 sectors, u32 sectorBytes, u8* data) {
  ScsiCommand command = Read16(lba, sectors, sectorBytes, data);
  return BytesRead(device, &command);
}

}  // namespace larkspur
