// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/windows/disk_number.h"

#include <windows.h>

#include "base/endian.h"
#include "platform/device.h"
#include "platform/device_requests.h"

namespace larkspur::platform {

std::optional<u32> DiskNumber(const std::u16string& device) {
  const auto opened = SystemDevices().Open(device.c_str(), kAccessQuery);
  u8 out[kDeviceNumberBytes] = {};
  u32 returned = 0;
  if (!opened || !opened->Control(kGetDeviceNumber, {}, out, &returned)) return std::nullopt;
  if (LoadLe32(out + kDeviceTypeOffset) != kDeviceTypeDisk) return std::nullopt;
  return LoadLe32(out + kDeviceNumberOffset);
}

std::set<u32> MountedDisks() {
  std::set<u32> disks;
  const DWORD letters = GetLogicalDrives();
  for (char16_t letter = u'A'; letter <= u'Z'; ++letter) {
    if (!(letters >> (letter - u'A') & 1)) continue;
    if (const auto disk = DiskNumber(u"\\\\.\\" + std::u16string(1, letter) + u":")) {
      disks.insert(*disk);
    }
  }
  return disks;
}

}  // namespace larkspur::platform
