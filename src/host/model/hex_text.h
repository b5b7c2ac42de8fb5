// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Bytes as people read them: sixteen a line with their place, as numbers and as characters.

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur::host {

// The text of a sector: lines, and characters in each.
constexpr size_t kHexBytesInLine = 16;
constexpr i32 kHexLines = 32, kHexColumns = 73;

// "0000  48 65 6c 6c 6f ...  Hello..." a line, each ended by "\r\n"; places count from 0. Bytes
// that are no printable ASCII show as dots.
std::string HexText(std::span<const u8> bytes);

// A sector as the user types it: decimal, or with 0x before it; blanks around do not matter.
// Nothing for anything else, and for numbers of more than 64 bits.
std::optional<u64> SectorFromText(std::u16string_view text);

}  // namespace larkspur::host
