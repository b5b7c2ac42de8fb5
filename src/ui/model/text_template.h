// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Texts of the catalog that hold directives: "%s", "%d", "%02d", "%lld", "%.01f", "%c", "%%".
//
// A translated text is data. A directive that does not fit its argument, or has none, shows nothing
// instead of reading what is not there.

#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "base/types.h"

namespace larkspur {

using TemplateArgument = std::variant<std::u16string_view, i64, double>;

// The text with its directives replaced by the arguments in their order.
std::u16string FilledIn(std::u16string_view text, std::span<const TemplateArgument> arguments);

}  // namespace larkspur
