// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the user's settings say about text.

#include <string_view>

#include "base/types.h"

namespace larkspur::platform {

// The number of the default ANSI code page of the user's locale; 0 when it has none. 65001 (UTF-8)
// on systems without such a thing.
u32 AnsiCodePage();

// Below, at and above zero as `one` stands before, with or after `other` in the user's language,
// letter case aside.
int CompareTexts(std::u16string_view one, std::u16string_view other);

}  // namespace larkspur::platform
