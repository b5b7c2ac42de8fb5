// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The screen under a form: its dots, and the place on it.

#include <windows.h>

#include "ui/handles.h"
#include "ui/model/geometry.h"

namespace larkspur {

// Dots per inch of a window, on every Windows from version 7 on: what newer systems know better is
// looked up at run time. A module cannot choose the process's awareness; it follows what the window
// says, which is 96 in a process that leaves scaling to the system.
u32 DpiOf(HWND window);

// The window size that gives `client` pixels inside, for a window of this style at `dpi`.
Size WindowSizeFor(Size client, DWORD style, DWORD exStyle, u32 dpi);

// The font in which the system writes windows' titles.
OwnedFont TitleFont(u32 dpi);

// Keeps the system from rearranging a dialog's controls on a change of scale: we do it.
void LeaveDpiChangesToUs(HWND dialog);

// What programs may use of the monitor that `window` is on.
Box WorkAreaAround(HWND window);

// A window of `size` pixels in the middle of `owner`, on the owner's monitor; in the middle of
// that monitor when the owner cannot be seen, and of `window`'s own without an owner.
Box PlaceOverOwner(HWND owner, HWND window, Size size);

}  // namespace larkspur
