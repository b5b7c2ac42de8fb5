// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>

#include "base/types.h"

namespace larkspur {

// Whether sectors are read by SCSI commands of our own instead of through the kernel.
enum class PassThrough {
  kOff,
  kAuto,  // from the first failure on, where the drive takes such commands
  kOn,    // from the start, where the drive takes them
};

struct SourceOptions {
  // Not empty: every sector fails that this ddrescue mapfile does not mark as finished.
  std::u16string testMapfile = {};
  PassThrough passThrough = PassThrough::kAuto;
  u32 timeoutSeconds = 10;  // of one such command
};

}  // namespace larkspur
