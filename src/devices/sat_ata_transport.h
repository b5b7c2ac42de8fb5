// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "devices/ata_transport.h"

namespace larkspur {

enum class SatForm { k16Bytes, k12Bytes };

// cSAT_ATATransport: the ATA PASS-THROUGH commands of the SCSI/ATA translation standard.
class cSAT_ATATransport final : public cATATransport {
 public:
  static constexpr u32 kCapabilities =
      kTakesDataOut | kReturnsRegisters | kTakesAnyLength | kTakes48Bit;

  explicit cSAT_ATATransport(SatForm form) : m_form(form) {}
  ~cSAT_ATATransport() = default;

  u32 GetTransportType() override { return kTransportSat; }
  bool Execute(platform::Device& device, const AtaCommand& command, AtaCommand& result) override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  SatForm m_form;
};

}  // namespace larkspur
