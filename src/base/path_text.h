// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Paths and other names between UTF-8, as programs exchange them, and UTF-16, as objects keep them.
//
// Nothing is lost: a POSIX file name may hold bytes that are no UTF-8, and each such byte becomes a
// lone surrogate U+DC80..U+DCFF, which turns back into the same byte. Lone surrogates of other
// values (Windows allows them in names) are written as the three bytes that UTF-8's pattern gives
// them, and read back from those.

#include <string>
#include <string_view>

namespace larkspur {

std::u16string WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::u16string_view text);

}  // namespace larkspur
