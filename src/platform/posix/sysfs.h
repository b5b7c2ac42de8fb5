// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What Linux tells of block devices in files: /sys and /proc. Reading them touches no drive.

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/types.h"

namespace larkspur::platform {

// A file's text up to `limit` bytes, without the line end; none when it cannot be read.
std::optional<std::string> ReadSmallFile(const std::string& path, size_t limit = 4096);

// A block device in /sys.
class SysBlock {
 public:
  explicit SysBlock(dev_t device);
  // By its name, such as "sda", "sda1" or "cciss!c0d0".
  explicit SysBlock(const std::string& name);
  // By its folder, or a link to it.
  static SysBlock InFolder(const std::string& folder);

  bool Exists() const { return !m_folder.empty(); }
  std::string Name() const;
  // Of the partition itself, where it is one.
  std::optional<std::string> Own(const char* file) const;
  // Of the whole disk.
  std::optional<std::string> Disk(const char* file) const;
  u64 OwnNumber(const char* file) const;
  u64 DiskNumber(const char* file) const;
  // What the disk is built on; what has been removed since is among them and does not exist.
  std::vector<SysBlock> Lower() const;
  bool IsPartition() const { return m_folder != m_disk; }
  // Where the disk hangs in the tree of devices, such as
  // "/sys/devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0/block/sda".
  const std::string& DiskFolder() const { return m_disk; }

 private:
  SysBlock() = default;
  void Find(const std::string& link);

  std::string m_folder;
  std::string m_disk;
};

// The names in a folder, in order.
std::vector<std::string> NamesIn(const std::string& folder);

}  // namespace larkspur::platform
