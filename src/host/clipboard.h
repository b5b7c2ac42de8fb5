// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

#include <string>

namespace larkspur::host {

// Puts text on the system's clipboard; false when it cannot be had.
bool CopyToClipboard(HWND owner, const std::u16string& text);

}  // namespace larkspur::host
