// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The storage descriptor of a Linux block device, in the layout of platform/device_requests.h.

#include <string>

#include "base/types.h"
#include "platform/posix/sysfs.h"

namespace larkspur::platform {

struct DescriptorFacts {
  u32 bus = 0;  // BusType
  bool isRemovable = false;
  std::string vendor;
  std::string product;
  std::string revision;
  std::string serial;
};

DescriptorFacts FactsOf(const SysBlock& block);

// The bus type (platform/device_requests.h) by the place in the tree of devices.
u32 BusOfFolder(const std::string& diskFolder);

// The descriptor's bytes. A serial number that would be mistaken for the hexadecimal form that some
// Windows drivers use is given in that form.
std::string DescriptorBytes(const DescriptorFacts& facts);

// "USB\VID_152D&PID_2338" for a disk on USB, else empty.
std::string UsbIdOf(const SysBlock& block);

}  // namespace larkspur::platform
