// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "devices/ata_transport.h"

namespace larkspur {

enum class JMicronForm { k12Bytes, k14Bytes };

// cJMicron_ATATransport: the vendor command of JMicron's USB bridges. Finds out at the first
// command on which of its two ports the drive is.
class cJMicron_ATATransport final : public cATATransport {
 public:
  static constexpr u32 kCapabilities =
      kTakesDataOut | kReturnsSmartStatus | kTakesDeviceHalves | kTakes48Bit;

  explicit cJMicron_ATATransport(JMicronForm form) : m_form(form) {}
  ~cJMicron_ATATransport() = default;

  u32 GetTransportType() override { return kTransportJMicron; }
  bool Execute(platform::Device& device, const AtaCommand& command, AtaCommand& result) override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  enum Port : i32 { kUnknown = -1, kMaster = 0, kSlave = 1 };

  u32 CdbLength() const { return m_form == JMicronForm::k14Bytes ? 14 : 12; }
  Port FindPort(platform::Device& device) const;

  JMicronForm m_form;
  Port m_port = kUnknown;
};

}  // namespace larkspur
