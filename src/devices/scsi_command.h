// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// SCSI commands by way of the system's driver, and what their sense data mean.

#include <array>
#include <optional>

#include "devices/ata_command.h"
#include "platform/device.h"

namespace larkspur {

struct ScsiCommand {
  static constexpr u32 kDefaultTimeoutSeconds = 10;
  static constexpr u8 kCheckCondition = 2;

  std::array<u8, 16> cdb{};
  u32 cdbLength = 0;
  u32 direction = kNoData;  // DataDirection
  u8* buffer = nullptr;
  u32 length = 0;
  u32 timeoutSeconds = 0;  // 0: the default

  // What came back.
  std::array<u8, 32> sense{};
  u8 status = 0;
  u8 senseLength = 0;
  u32 residual = 0;  // bytes that were asked for and not transferred

  // The kind of sense data: 0x70 and 0x71 fixed, from 0x72 on by descriptors, less: none.
  u8 ResponseCode() const { return sense[0] & 0x7F; }
};

// Sends the command. True when it reached the device, whatever came of it: the caller judges.
bool ExecuteScsi(platform::Device& device, ScsiCommand& command);

enum SenseKey : u8 {
  kSenseNone = 0,
  kSenseRecovered = 1,
  kSenseNotReady = 2,
  kSenseMediumError = 3,
  kSenseHardwareError = 4,
  kSenseIllegalRequest = 5,
  kSenseUnitAttention = 6,
  kSenseDataProtect = 7,
  kSenseBlankCheck = 8,
  kSenseVendorSpecific = 9,
  kSenseCopyAborted = 10,
  kSenseAbortedCommand = 11,
};

struct SenseData {
  u8 key = 0;  // SenseKey, or past it
  u8 asc = 0;
  u8 ascq = 0;
};
// All zeros when the command did not end with a check condition.
SenseData DecodeSense(const ScsiCommand& command);

// The block that the sense data name; none when they name none.
std::optional<u64> SenseInformation(const ScsiCommand& command);

// What a command came to. The numbers are fixed; keys past the last one have no outcome.
enum class ScsiOutcome : u32 {
  kSuccess = 0,
  kNotReady = 1,
  kUnknownCommand = 2,
  kInvalidField = 3,
  kIllegalRequest = 4,
  kNoMedium = 6,
  kBecomingReady = 7,
  kUnitAttention = 8,
  kMediumOrHardware = 9,
  kOther = 10,
  kAborted = 11,
  kNone = 0xFF,
};
ScsiOutcome Classify(const SenseData& sense);

// Whether a command that ExecuteScsi sent has done what it should.
bool HasSucceeded(const ScsiCommand& command);

}  // namespace larkspur
