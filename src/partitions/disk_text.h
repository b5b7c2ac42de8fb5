// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Names as they stand on disks.

#include <span>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// The UTF-8 text of a field that ends at its first zero byte or with the field, without blanks at
// its end. Bytes that are no text, and control characters, become U+FFFD.
std::u16string DiskText(std::span<const u8> field);

// Whether the bytes begin with the text.
bool StartsWith(std::span<const u8> bytes, std::string_view text);

// Text of our own for a record: ASCII only.
std::u16string WideAscii(std::string_view text);

}  // namespace larkspur
