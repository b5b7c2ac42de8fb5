// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/scsi_command.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "platform/device_requests.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u32 kSenseForAsc = 14;  // sense bytes from which fixed data have ASC and ASCQ
constexpr u8 kDescriptorSense = 0x72;
constexpr u8 kFixedSense = 0x70;
constexpr u32 kAdditionalLength = 7;  // the sense byte that counts those after the eighth

// Additional sense codes, with one qualifier.
constexpr u8 kAscNotReady = 0x04, kAscqBecomingReady = 0x01;
constexpr u8 kAscUnknownCommand = 0x20;
constexpr u8 kAscInvalidField = 0x24;
constexpr u8 kAscNoMedium = 0x3A;

u8 DirectionCode(u32 direction) {
  return direction == kNoData ? kScsiNoData : direction == kDataIn ? kScsiDataIn : kScsiDataOut;
}

// The head that both forms of the request share.
void FillHead(const ScsiCommand& command, u8 senseBytes, u8* request) {
  StoreLe16(request, kScsiHeadBytes);
  request[kScsiCdbLengthOffset] = static_cast<u8>(command.cdbLength);
  request[kScsiSenseLengthOffset] = senseBytes;
  request[kScsiDirectionOffset] = DirectionCode(command.direction);
  StoreLe32(request + kScsiDataLengthOffset, command.length);
  StoreLe32(request + kScsiTimeoutOffset,
            command.timeoutSeconds ? command.timeoutSeconds : ScsiCommand::kDefaultTimeoutSeconds);
  StoreLe32(request + kScsiSensePlaceOffset, kScsiSenseOffset);
  std::copy(command.cdb.begin(), command.cdb.end(), request + kScsiCdbOffset);
}

// Drivers have been seen to fail a call without an error: the command went out nevertheless.
bool Send(Device& device, u32 code, std::span<u8> request) {
  u32 returned = 0;
  SetLastFailure(0);
  return device.Control(code, request, request, &returned) || LastFailure() == 0;
}

void TakeAnswer(const u8* request, ScsiCommand* command) {
  command->status = request[kScsiStatusOffset];
  command->senseLength = 0;
  command->sense.fill(0);
  if (command->status & ScsiCommand::kCheckCondition) {
    const u8* sense = request + kScsiSenseOffset;
    command->senseLength = static_cast<u8>(
        std::min<size_t>(sense[kAdditionalLength] + size_t{8}, command->sense.size()));
    std::copy_n(sense, command->senseLength, command->sense.begin());
  }
  const u32 moved = LoadLe32(request + kScsiDataLengthOffset);
  command->residual = moved < command->length ? command->length - moved : 0;
}

bool ExecuteDirect(Device& device, ScsiCommand& command) {
  u8 request[kScsiDirectBytes] = {};
  FillHead(command, kScsiDirectSenseBytes, request);
  StoreLe64(request + kScsiDataOffset, reinterpret_cast<std::uintptr_t>(command.buffer));
  if (!Send(device, kScsiPassThroughDirect, request)) return false;
  TakeAnswer(request, &command);
  return true;
}

// A single byte: some drivers refuse to transfer that directly.
bool ExecuteBuffered(Device& device, ScsiCommand& command) {
  u8 request[kScsiBufferedBytes] = {};
  FillHead(command, kScsiBufferedSenseBytes, request);
  StoreLe64(request + kScsiDataOffset, kScsiBufferedDataOffset);
  if (!Send(device, kScsiPassThrough, request)) return false;
  TakeAnswer(request, &command);
  std::memcpy(command.buffer, request + kScsiBufferedDataOffset, command.length);
  return true;
}

}  // namespace

bool ExecuteScsi(Device& device, ScsiCommand& command) {
  const bool isSingleByte = command.direction == kDataIn && command.length == 1;
  return isSingleByte ? ExecuteBuffered(device, command) : ExecuteDirect(device, command);
}

SenseData DecodeSense(const ScsiCommand& command) {
  if (command.status != ScsiCommand::kCheckCondition) return {};
  const auto& sense = command.sense;
  if (command.ResponseCode() >= kDescriptorSense) {
    return {static_cast<u8>(sense[1] & 0x0F), sense[2], sense[3]};
  }
  if (command.ResponseCode() < kFixedSense) return {};
  const u8 key = sense[2] & 0x0F;
  if (command.senseLength < kSenseForAsc) return {key, 0, 0};
  return {key, sense[12], sense[13]};
}

std::optional<u64> SenseInformation(const ScsiCommand& command) {
  const u8* sense = command.sense.data();
  constexpr u8 kIsValid = 0x80;
  if (command.ResponseCode() < kDescriptorSense) {
    const bool names = sense[0] & kIsValid && command.senseLength >= 7;
    return names ? std::optional<u64>(LoadBe32(sense + 3)) : std::nullopt;
  }
  // Descriptors: type, length of what follows; the block's has type 0, its validity, 8 bytes at 4.
  for (u32 at = 8; at + 12 <= command.senseLength; at += 2 + sense[at + 1]) {
    if (sense[at] != 0 || sense[at + 1] != 10) continue;
    return sense[at + 2] & kIsValid ? std::optional<u64>(LoadBe64(sense + at + 4)) : std::nullopt;
  }
  return std::nullopt;
}

ScsiOutcome Classify(const SenseData& sense) {
  switch (sense.key) {
    case kSenseNone:
    case kSenseRecovered:
      return ScsiOutcome::kSuccess;
    case kSenseNotReady:
      if (sense.asc == kAscNoMedium) return ScsiOutcome::kNoMedium;
      return sense.asc == kAscNotReady && sense.ascq == kAscqBecomingReady
                 ? ScsiOutcome::kBecomingReady
                 : ScsiOutcome::kNotReady;
    case kSenseMediumError:
    case kSenseHardwareError:
      return ScsiOutcome::kMediumOrHardware;
    case kSenseIllegalRequest:
      return sense.asc == kAscUnknownCommand ? ScsiOutcome::kUnknownCommand
             : sense.asc == kAscInvalidField ? ScsiOutcome::kInvalidField
                                             : ScsiOutcome::kIllegalRequest;
    case kSenseUnitAttention:
      return ScsiOutcome::kUnitAttention;
    case kSenseDataProtect:
    case kSenseBlankCheck:
    case kSenseVendorSpecific:
    case kSenseCopyAborted:
      return ScsiOutcome::kOther;
    case kSenseAbortedCommand:
      return ScsiOutcome::kAborted;
  }
  return ScsiOutcome::kNone;
}

bool HasSucceeded(const ScsiCommand& command) {
  return Classify(DecodeSense(command)) == ScsiOutcome::kSuccess;
}

}  // namespace larkspur
