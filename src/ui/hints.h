// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The hints of a form: short texts beside the pointer, by the system's tooltip control.

#include <windows.h>

#include <string>

namespace larkspur {

class cHints {
 public:
  // Gives `control`, a child of `form`, a hint; an empty text takes it away. The tooltip control is
  // made with the first hint and goes with the form's window.
  void Set(HWND form, HWND control, const std::u16string& text);

  // The form's window is gone, and the tooltip with it.
  void Forget() { m_tip = nullptr; }

 private:
  HWND m_tip = nullptr;
};

}  // namespace larkspur
