// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The chip between a USB plug and an ATA drive: which one it is, and how ATA commands pass it.

#include "devices/ata_transport.h"
#include "devices/device_kind.h"

namespace larkspur {

enum BridgeKind : u32 {
  kBridgeUnknown = 0,  // the USB identity could not be read
  kBridgeNoDisk = 1,   // asked of something that is no disk
  kBridgeUnlisted = 2,
  kBridgeSat12 = 3,
  kBridgeJMicron12 = 4,
  kBridgeJMicron14 = 5,
  kBridgeJMicron12Other = 6,
  kBridgeSunplus = 7,
  kBridgeUnsupported = 8,
  kBridgeUnsupportedProlific = 9,
};

// "SAT, 12 bytes", "JMicron", …; empty for what is no bridge that we know.
const char* BridgeName(u32 bridge);

// By vendor and product identifier.
BridgeKind BridgeOf(u16 vendor, u16 product);

// Of the disk that `device` is. Asks the tree of devices, not the drive.
BridgeKind LookUpBridge(platform::Device& device);

// The way through a bridge; null where there is none.
Owned<cATATransport> TransportForBridge(u32 bridge);

// The way to a drive of that kind, on USB behind that bridge; null where there is none.
Owned<cATATransport> MakeTransport(u32 kind, u32 bridge);

}  // namespace larkspur
