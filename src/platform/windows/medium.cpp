// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/medium.h"

namespace larkspur::platform {

// Windows has no number that a disk gets anew when it is plugged in.
std::string MediumStay(const char16_t*) {
  return {};
}

}  // namespace larkspur::platform
