// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The block devices that Linux knows, and which of them are in use.

#include "base/path_text.h"
#include "platform/device.h"
#include "platform/posix/disk_set.h"
#include "platform/posix/sysfs.h"

namespace larkspur::platform {
namespace {

bool IsListed(const std::string& name, u64 sectors) {
  if (name.rfind("ram", 0) == 0 || name.rfind("zram", 0) == 0) return false;
  return sectors > 0 || name.rfind("sr", 0) == 0;  // a drive without a disc is a drive
}

}  // namespace

std::vector<ListedDevice> ListDevices() {
  std::vector<ListedDevice> devices;
  const DiskSet inUse = DisksInUse();
  for (const std::string& name : NamesIn("/sys/block")) {
    const SysBlock block(name);
    if (!block.Exists() || !IsListed(name, block.OwnNumber("size"))) continue;
    ListedDevice listed;
    listed.path = WideFromUtf8("/dev/" + block.Name());
    listed.bytes = block.OwnNumber("size") << kSectorShift;
    listed.isOptical = name.rfind("sr", 0) == 0;
    listed.isReadOnly = block.OwnNumber("ro") != 0;
    listed.isMounted = inUse.count(block.DiskFolder()) > 0;
    devices.push_back(std::move(listed));
  }
  return devices;
}

}  // namespace larkspur::platform
