// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How a drive is attached, as far as it matters for talking to it.

#include <string>

#include "devices/device_query.h"

namespace larkspur {

enum DeviceKind : u32 {
  kKindNone = 0,
  kKindAta = 1,
  kKindScsi = 2,
  kKindSat = 3,  // an ATA drive behind a SCSI layer that translates
  kKindUsb = 4,
  kKindUsbRemovable = 5,
};

DeviceKind ClassifyKind(platform::Device& device);

// "ATA", "SCSI", "SAT", "USB", "USB removable"; "other" for the rest.
const char* KindName(u32 kind);

// The bus types up to 15 by name, such as "SATA"; "Unknown" for all others.
const char* BusName(u32 bus);

// How a drive is attached, in a word for people: its kind, else its bus.
std::string AttachmentName(u32 kind, u32 bus);

}  // namespace larkspur
