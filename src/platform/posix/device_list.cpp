// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The block devices that Linux knows, and which of them are in use.

#include <set>
#include <sstream>

#include <sys/stat.h>

#include "base/path_text.h"
#include "platform/device.h"
#include "platform/posix/sysfs.h"

namespace larkspur::platform {
namespace {

constexpr size_t kTableLimit = 1 << 20;
constexpr int kMaxLayers = 8;  // of devices built on devices

// Marks the disk that `block` is or lies on, and those that it is built on.
void MarkDisks(const SysBlock& block, int layers, std::set<std::string>* disks) {
  if (!block.Exists() || layers == 0) return;
  disks->insert(block.DiskFolder());
  for (const std::string& name : NamesIn(block.DiskFolder() + "/slaves")) {
    MarkDisks(SysBlock(name), layers - 1, disks);
  }
}

void MarkNode(const std::string& node, std::set<std::string>* disks) {
  struct stat status;
  if (stat(node.c_str(), &status) == 0 && S_ISBLK(status.st_mode)) {
    MarkDisks(SysBlock(status.st_rdev), kMaxLayers, disks);
  }
}

// The folders in /sys of all disks that something is mounted from or swapped to.
std::set<std::string> DisksInUse() {
  std::set<std::string> disks;
  std::string line, word;
  // Fields of a mount: …, "-", type, source, …
  std::istringstream mounts(ReadSmallFile("/proc/self/mountinfo", kTableLimit).value_or(""));
  while (std::getline(mounts, line)) {
    const size_t dash = line.find(" - ");
    if (dash == std::string::npos) continue;
    std::istringstream fields(line.substr(dash + 3));
    if (fields >> word >> word) MarkNode(word, &disks);
  }
  std::istringstream swaps(ReadSmallFile("/proc/swaps", kTableLimit).value_or(""));
  while (std::getline(swaps, line)) MarkNode(line.substr(0, line.find(' ')), &disks);
  return disks;
}

bool IsListed(const std::string& name, u64 sectors) {
  if (name.rfind("ram", 0) == 0 || name.rfind("zram", 0) == 0) return false;
  return sectors > 0 || name.rfind("sr", 0) == 0;  // a drive without a disc is a drive
}

}  // namespace

std::vector<ListedDevice> ListDevices() {
  std::vector<ListedDevice> devices;
  const std::set<std::string> inUse = DisksInUse();
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
