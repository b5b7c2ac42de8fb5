// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where a form appears on the screen.

#include <windows.h>

#include "ui/model/geometry.h"

namespace larkspur {

// What programs may use of the monitor that `window` is on.
Box WorkAreaAround(HWND window);

// A window of `size` pixels in the middle of `owner`, on the owner's monitor; in the middle of
// that monitor when the owner cannot be seen, and of `window`'s own without an owner.
Box PlaceOverOwner(HWND owner, HWND window, Size size);

}  // namespace larkspur
