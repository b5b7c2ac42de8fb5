// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

namespace larkspur {

// Makes the window's title bar dark where the user chose dark programs, and light elsewhere. The
// controls inside have no dark look that is documented, so they keep the system's colours. Nothing
// happens on systems without dark title bars.
void FollowAppModeInTitle(HWND window);

}  // namespace larkspur
