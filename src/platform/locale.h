// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the user's settings say about text.

#include "base/types.h"

namespace larkspur::platform {

// The number of the default ANSI code page of the user's locale; 0 when it has none. 65001 (UTF-8)
// on systems without such a thing.
u32 AnsiCodePage();

}  // namespace larkspur::platform
