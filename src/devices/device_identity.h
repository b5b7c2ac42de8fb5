// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a drive says of itself, by the best way of asking that its connection offers.

#include <optional>
#include <string>

#include "platform/device.h"

namespace larkspur {

struct DeviceIdentity {
  u32 kind = 0;    // DeviceKind
  u32 bridge = 0;  // BridgeKind
  u32 logicalSectorBytes = 512;
  u32 physicalSectorBytes = 512;
  // ATA: the capacity as the drive gives it. SCSI: the number of the last sector. The callers add
  // one to either, and are meant to.
  u64 sectorCount = 0;
  std::u16string model;
  std::u16string serial;
  std::u16string firmware;
};

// Asks the drive; none when no way led to an answer. Sends no more commands than it needs.
std::optional<DeviceIdentity> ProbeIdentity(platform::Device& device);

}  // namespace larkspur
