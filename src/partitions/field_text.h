// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Fields of disks as UTF-8 text: labels in several encodings, identifiers in the forms in which
// people know them.

#include <span>
#include <string>

#include "base/types.h"

namespace larkspur {

// Up to the first zero, without blanks at the end. What is no text, and control characters, become
// U+FFFD.
std::string FieldUtf8(std::span<const u8> field);
std::string FieldUtf16(std::span<const u8> field, bool bigEndian);

// 16 bytes as 8-4-4-4-12 digits in their order; empty for other lengths and when all are zero.
std::string FieldUuid(std::span<const u8> field);
// The same, the first three groups being little-endian numbers.
std::string FieldGuid(std::span<const u8> field);

}  // namespace larkspur
