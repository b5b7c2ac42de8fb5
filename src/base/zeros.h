// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <cstring>
#include <span>

#include "base/types.h"

namespace larkspur {

// Whether the bytes are nothing but zeros, as no bytes are.
inline bool IsAllZero(std::span<const u8> bytes) {
  // All equal to the first, which is zero: memcmp is faster than any loop of ours.
  return bytes.empty() ||
         (bytes[0] == 0 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

}  // namespace larkspur
