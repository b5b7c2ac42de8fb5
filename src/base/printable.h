// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Texts and bytes from disks, drives and file names, for people to read. Texts may hold anything: a
// terminal would obey their control characters, and XML knows none.

#include <span>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// Whether the character that a well-formed text begins with controls what is shown: the control
// characters of ASCII and ISO 8859-1, and those that turn the direction of what follows or end the
// line, so that one name reads as another.
bool BeginsWithControl(std::string_view text);

// The UTF-8 text with '?' for each such character, but for those in `kept`, and for each byte that
// is no UTF-8.
std::string Printable(std::string_view text, std::string_view kept = {});

// The bytes as lower-case hexadecimal digits, with nothing between them.
std::string HexText(std::span<const u8> bytes);
std::string HexText(std::string_view bytes);

// The printable text as HTML and XML have it, in elements and in attributes.
std::string Markup(std::string_view text);

// How many bytes at the text's beginning are letters, digits and signs of ASCII: most often all.
size_t PlainLength(std::string_view text);

bool IsUtf8(std::string_view text);

}  // namespace larkspur
