// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/posix/disk_set.h"

#include <cstdlib>
#include <sstream>
#include <vector>

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "platform/posix/sysfs.h"

namespace larkspur::platform {
namespace {

constexpr size_t kTableLimit = 1 << 20;
constexpr int kMaxLayers = 8;  // of devices built on devices

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

// Goes down from devices to what they are built on.
class Descent {
 public:
  // With `withHolders`, a file leads to the disks that hold it.
  explicit Descent(bool withHolders) : m_withHolders(withHolders) {}

  DiskSet Take() { return std::move(m_disks); }

  void AddNode(const std::string& node, int layers = kMaxLayers) {
    struct stat status;
    if (layers == 0 || stat(node.c_str(), &status) != 0) return;
    if (S_ISBLK(status.st_mode)) AddBlock(SysBlock(status.st_rdev), layers);
    if (!S_ISREG(status.st_mode)) return;
    m_disks.insert(fmt::format("file {} {}", status.st_dev, status.st_ino));
    if (m_withHolders) AddHolder(node, layers - 1);
  }

  void AddMount(const Mount& mount, int layers = kMaxLayers) {
    AddBlock(SysBlock(mount.device), layers);
    if (mount.source.starts_with("/")) AddNode(mount.source, layers);
  }

  // The disks below the file system that holds `path`.
  void AddHolder(const std::string& path, int layers = kMaxLayers) {
    struct statx status;
    if (layers == 0 || statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0) return;
    AddBlock(SysBlock(makedev(status.stx_dev_major, status.stx_dev_minor)), layers);
    if (!(status.stx_mask & STATX_MNT_ID)) return;
    for (const Mount& mount : Mounts()) {
      if (mount.id == status.stx_mnt_id) AddMount(mount, layers);
    }
  }

 private:
  void AddBlock(const SysBlock& block, int layers) {
    if (!block.Exists() || layers == 0 || !m_disks.insert(block.DiskFolder()).second) return;
    for (const SysBlock& lower : block.Lower()) AddBlock(lower, layers - 1);
    if (const auto file = block.Disk("loop/backing_file")) AddNode(*file, layers - 1);
  }

  const bool m_withHolders;
  DiskSet m_disks;
};

}  // namespace

DiskSet DisksOfDevice(const std::string& node) {
  Descent descent(false);
  descent.AddNode(node);
  return descent.Take();
}

DiskSet DisksOfFile(const std::string& path) {
  Descent descent(true);
  descent.AddHolder(path);
  return descent.Take();
}

DiskSet DisksInUse() {
  Descent descent(true);
  for (const Mount& mount : Mounts()) descent.AddMount(mount);
  std::istringstream swaps(ReadSmallFile("/proc/swaps", kTableLimit).value_or(""));
  std::string line;
  while (std::getline(swaps, line)) descent.AddNode(line.substr(0, line.find(' ')));
  return descent.Take();
}

}  // namespace larkspur::platform
