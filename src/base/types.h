// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The integer types of the whole system, and the sector in which it counts.

#include <cstddef>
#include <cstdint>

namespace larkspur {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

// Every storage counts in sectors of 512 bytes, whatever its device's own sector size.
constexpr u32 kSectorBytes = 512;
constexpr u32 kSectorShift = 9;

// All-ones: the answer of operations that could not find or set a position.
constexpr u64 kNowhere = ~u64{0};

}  // namespace larkspur
