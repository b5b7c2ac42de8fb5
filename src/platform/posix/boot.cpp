// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/boot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "base/path_text.h"
#include "platform/posix/sysfs.h"

namespace larkspur::platform {

std::string BootId() {
  return ReadSmallFile("/proc/sys/kernel/random/boot_id").value_or("");
}

// The number of the mount, which newer systems give to no other one, and the disk's, which it gets
// when it is plugged in.
std::string MediumStay(const char16_t* file) {
  constexpr unsigned kUniqueMount = 0x4000;  // STATX_MNT_ID_UNIQUE; since Linux 6.8
  struct statx status {};
  if (statx(AT_FDCWD, Utf8FromWide(file).c_str(), 0, STATX_MNT_ID | kUniqueMount, &status) != 0) {
    return {};
  }
  const SysBlock disk(makedev(status.stx_dev_major, status.stx_dev_minor));
  const std::string sequence = disk.Exists() ? disk.Disk("diskseq").value_or("") : "";
  return std::to_string(status.stx_mnt_id) + ":" + sequence;
}

}  // namespace larkspur::platform
