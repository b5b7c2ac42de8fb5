// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The description of a drive that does not say itself what it is: from the system's descriptor.

#include <optional>
#include <string>

#include "platform/device.h"

namespace larkspur {

struct DescriptorTexts {
  std::u16string line;  // "Fixed ACME SATA Disk 9000"
  std::u16string serial;
  std::u16string vendor;
  std::u16string model;
};

// None where the system has no descriptor.
std::optional<DescriptorTexts> TextsOfDescriptor(platform::Device& device);

}  // namespace larkspur
