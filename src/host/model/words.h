// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Text for windows, written as fmt writes it: UTF-8 patterns and arguments, UTF-16 out.

#include <string>
#include <string_view>

#include <fmt/core.h>

#include "base/path_text.h"

namespace larkspur::host {

template <typename... Arguments>
std::u16string Words(fmt::format_string<Arguments...> pattern, Arguments&&... arguments) {
  return WideFromUtf8(fmt::format(pattern, std::forward<Arguments>(arguments)...));
}

// For arguments that are UTF-16 themselves.
inline std::string Utf8(std::u16string_view text) {
  return Utf8FromWide(text);
}

}  // namespace larkspur::host
