// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "devices/ata_transport.h"

namespace larkspur {

// cGEN_ATATransport: the system's own ATA driver, by its pass-through requests.
class cGEN_ATATransport final : public cATATransport {
 public:
  static constexpr u32 kCapabilities = kTakesDataOut | kReturnsRegisters | kTakes48Bit;

  cGEN_ATATransport() = default;
  ~cGEN_ATATransport() = default;

  u32 GetTransportType() override { return kTransportGeneric; }
  bool Execute(platform::Device& device, const AtaCommand& command, AtaCommand& result) override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
};

}  // namespace larkspur
