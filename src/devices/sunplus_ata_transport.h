// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "devices/ata_transport.h"

namespace larkspur {

struct ScsiCommand;

// cSUNPlus_ATATransport: the vendor command of Sunplus' USB bridges.
class cSUNPlus_ATATransport final : public cATATransport {
 public:
  static constexpr u32 kCapabilities = kTakesDataOut | kReturnsRegisters | kTakes48Bit;

  cSUNPlus_ATATransport() = default;
  ~cSUNPlus_ATATransport() = default;

  u32 GetTransportType() override { return kTransportSunplus; }
  bool Execute(platform::Device& device, const AtaCommand& command, AtaCommand& result) override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
};

}  // namespace larkspur
