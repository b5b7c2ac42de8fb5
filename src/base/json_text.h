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

// The number as JSON has it, in as many digits as tell it from all others; null if it is none.
std::string JsonNumber(double value);

}  // namespace larkspur
