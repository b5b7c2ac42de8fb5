// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The ways by which ATA commands reach a drive.

#include "base/owned.h"
#include "devices/ata_command.h"
#include "platform/device.h"

namespace larkspur {

enum TransportType : u32 {
  kTransportGeneric = 1,
  kTransportSat = 2,
  kTransportJMicron = 3,
  kTransportSunplus = 4,
};

class cATATransport {
 public:
  cATATransport(const cATATransport&) = delete;
  cATATransport& operator=(const cATATransport&) = delete;

  virtual u32 GetTransportType() = 0;  // slot 0
  // Sends `command` and, where the way allows it, gives the registers returned in `result`. False
  // when the command was refused before it was sent, could not be sent, or failed.
  virtual bool Execute(platform::Device& device, const AtaCommand& command,
                       AtaCommand& result) = 0;  // slot 1
  virtual void* Destroy(u32 flags) = 0;          // slot 2

 protected:
  cATATransport() = default;
  ~cATATransport() = default;
};

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
  enum Port : i32 { kUnknownPort = -1, kMaster = 0, kSlave = 1 };

  u32 CdbLength() const { return m_form == JMicronForm::k14Bytes ? 14 : 12; }
  Port FindPort(platform::Device& device) const;

  JMicronForm m_form;
  Port m_port = kUnknownPort;
};

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
