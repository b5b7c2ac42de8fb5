// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

#include <string>

namespace larkspur {

// Saves what the screen shows where a window is, as a PNG file. False when it cannot be written.
bool SavePicture(HWND window, const std::u16string& path);

}  // namespace larkspur
