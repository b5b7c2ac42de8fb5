// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The SCSI commands that we send on our own account, each with 20 seconds of time.

#include <optional>

#include "devices/scsi_command.h"

namespace larkspur {

constexpr u32 kMaxInquiryBytes = 1023;
constexpr u32 kRawSectorBytes = 2352;  // of an optical disc, whatever its form

// INQUIRY into `data`, which may have kMaxInquiryBytes.
bool Inquiry(platform::Device& device, std::span<u8> data);
// INQUIRY of the page with the unit's serial number.
bool InquirySerial(platform::Device& device, std::span<u8> data);

struct ScsiCapacity {
  u64 lastLba = 0;
  u32 blockBytes = 0;
};
std::optional<ScsiCapacity> ReadCapacity10(platform::Device& device);
std::optional<ScsiCapacity> ReadCapacity16(platform::Device& device);

// A READ(10), or a READ(16) for blocks that it does not reach, that reads into `data`; and a READ
// CD of one block's user data, whatever the sector's form, into room for kRawSectorBytes.
ScsiCommand ReadCommand(u64 lba, u32 blocks, u32 blockBytes, u8* data);
ScsiCommand ReadCdCommand(u32 lba, u8* data);

// Reads `sectors` sectors of `sectorBytes` into `data` and answers the bytes that came, 0 on
// failure.
u32 ScsiRead10(platform::Device& device, u32 lba, u32 sectors, u32 sectorBytes, u8* data);
u32 ScsiRead16(platform::Device& device, u64 lba, u32 sectors, u32 sectorBytes, u8* data);

}  // namespace larkspur
