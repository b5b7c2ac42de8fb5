// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The description of a drive that does not say itself what it is: from the system's descriptor.

#include <string>

#include "platform/device.h"

namespace larkspur {

struct DescriptorTexts {
  std::u16string serial;
  std::u16string vendor;
  std::u16string model;
};

// "Fixed ACME SATA Disk 9000", and its parts. Where the system has no descriptor the answer is
// empty and *texts stays as it is.
std::u16string DescriptorText(platform::Device& device, DescriptorTexts* texts);

}  // namespace larkspur
