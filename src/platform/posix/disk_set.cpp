// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/posix/disk_set.h"

#include <cstdlib>
#include <sstream>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "platform/posix/sysfs.h"

namespace larkspur::platform {
namespace {

constexpr size_t kTableLimit = 1 << 20;
constexpr int kMaxLayers = 8;  // of devices built on devices

void Add(const SysBlock& block, int layers, DiskSet* disks) {
  if (!block.Exists() || layers == 0) return;
  disks->insert(block.DiskFolder());
  for (const std::string& name : NamesIn(block.DiskFolder() + "/slaves")) {
    Add(SysBlock(name), layers - 1, disks);
  }
}

void AddNode(const std::string& node, DiskSet* disks) {
  struct stat status;
  if (stat(node.c_str(), &status) == 0 && S_ISBLK(status.st_mode)) {
    Add(SysBlock(status.st_rdev), kMaxLayers, disks);
  }
}

struct Mount {
  u64 id;
  dev_t device;  // some file systems have one of their own, which is no disk
  std::string source;
};

// Fields of a line: id, parent, major:minor, …, "-", type, source, … (proc(5)).
std::vector<Mount> Mounts() {
  std::vector<Mount> mounts;
  std::istringstream table(ReadSmallFile("/proc/self/mountinfo", kTableLimit).value_or(""));
  std::string line, word;
  while (std::getline(table, line)) {
    Mount mount{};
    unsigned high = 0, low = 0;
    char colon = 0;
    std::istringstream(line) >> mount.id >> word >> high >> colon >> low;
    mount.device = makedev(high, low);
    const size_t dash = line.find(" - ");
    if (dash == std::string::npos) continue;
    std::istringstream(line.substr(dash + 3)) >> word >> mount.source;
    mounts.push_back(std::move(mount));
  }
  return mounts;
}

void AddMount(const Mount& mount, DiskSet* disks) {
  Add(SysBlock(mount.device), kMaxLayers, disks);
  AddNode(mount.source, disks);
}

}  // namespace

DiskSet DisksOfDevice(const std::string& node) {
  DiskSet disks;
  AddNode(node, &disks);
  return disks;
}

DiskSet DisksOfFile(const std::string& path) {
  DiskSet disks;
  struct statx status;
  if (statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0) return disks;
  Add(SysBlock(makedev(status.stx_dev_major, status.stx_dev_minor)), kMaxLayers, &disks);
  if (!(status.stx_mask & STATX_MNT_ID)) return disks;
  for (const Mount& mount : Mounts()) {
    if (mount.id == status.stx_mnt_id) AddMount(mount, &disks);
  }
  return disks;
}

DiskSet DisksInUse() {
  DiskSet disks;
  for (const Mount& mount : Mounts()) AddMount(mount, &disks);
  std::istringstream swaps(ReadSmallFile("/proc/swaps", kTableLimit).value_or(""));
  std::string line;
  while (std::getline(swaps, line)) AddNode(line.substr(0, line.find(' ')), &disks);
  return disks;
}

}  // namespace larkspur::platform
