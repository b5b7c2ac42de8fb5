// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cATATransport: a way by which ATA commands reach a drive.

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

}  // namespace larkspur
