// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Fields of disks as UTF-8 text: labels in several encodings, identifiers in the forms in which
// people know them.

#include <span>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// The UTF-8 text of a field that ends at its first zero byte or with the field, without blanks at
// its end. Bytes that are no text, and control characters, become U+FFFD.
std::u16string DiskText(std::span<const u8> field);
// The same in UTF-8; and of a field in UTF-16.
std::string FieldUtf8(std::span<const u8> field);
std::string FieldUtf16(std::span<const u8> field, bool bigEndian);

// 16 bytes as 8-4-4-4-12 digits in their order; empty for other lengths and when all are zero.
std::string FieldUuid(std::span<const u8> field);
// The same, the first three groups being little-endian numbers.
std::string FieldGuid(std::span<const u8> field);

// Whether the bytes begin with the text.
bool StartsWith(std::span<const u8> bytes, std::string_view text);

// Text of our own for a record: ASCII only.
std::u16string WideAscii(std::string_view text);

}  // namespace larkspur
