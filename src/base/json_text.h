// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Texts as JSON strings and back. What is written here can be shown on a terminal: no control
// character stands in it as it is.

#include <optional>
#include <string>
#include <string_view>

namespace larkspur {

// The UTF-8 text as a JSON string with its quotes; bytes that are no UTF-8 become U+FFFD.
std::string JsonText(std::string_view text);

// The text that a JSON string with its quotes is; none when it is no such string.
std::optional<std::string> TextOfJson(std::string_view json);

// A JSON text with all that BeginsWithControl knows escaped, of which the usual serializers leave
// most as it is.
std::string WithControlsEscaped(std::string_view json);

}  // namespace larkspur
