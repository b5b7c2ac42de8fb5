// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The header of a list: its columns' titles, and the arrow at the one that the list is sorted by.

#include <windows.h>

#include <commctrl.h>

#include "ui/window.h"

namespace larkspur {

class cHeaderChild : public cWindow {
 public:
  // The header belongs to its list, which makes and destroys it.
  void Take(HWND header) { Attach(header); }

  u32 Count() const { return static_cast<u32>(Send(HDM_GETITEMCOUNT)); }
  // An arrow at `column`, and at no other.
  void ShowSorted(u32 column, bool descending);
};

}  // namespace larkspur
