// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

namespace larkspur::host {

// Where a context menu goes, on the screen: at the pointer, or, asked for by a key, at the upper
// left of `window`. `lParam` is that of WM_CONTEXTMENU.
inline POINT MenuPlace(HWND window, LPARAM lParam) {
  POINT where{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
  if (lParam != -1) return where;
  where = {8, 8};
  ClientToScreen(window, &where);
  return where;
}

}  // namespace larkspur::host
