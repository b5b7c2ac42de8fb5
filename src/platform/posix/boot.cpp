// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/boot.h"

#include "platform/posix/sysfs.h"

namespace larkspur::platform {

std::string BootId() {
  return ReadSmallFile("/proc/sys/kernel/random/boot_id").value_or("");
}

}  // namespace larkspur::platform
