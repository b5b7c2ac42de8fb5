// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/medium.h"

namespace larkspur::platform {

// Windows gives a disk no number of its own each time that it is plugged in.
std::string MediumStay(const char16_t*) {
  return {};
}

}  // namespace larkspur::platform
