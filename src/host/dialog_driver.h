// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Fills in a module's device dialog in the place of a user, for scripts: by the ids of its
// controls, from the dialog's own message loop.

#include <windows.h>

#include <string>

#include "base/types.h"

namespace larkspur::host {

// Drives the dialogs of this thread while it lives. One at a time.
class cDialogDriver {
 public:
  // Chooses `row` of the source list and this cache, and presses Define.
  cDialogDriver(int row, std::u16string cachePath);
  cDialogDriver(const cDialogDriver&) = delete;
  cDialogDriver& operator=(const cDialogDriver&) = delete;
  ~cDialogDriver();

  // What the module said against it; empty when it said nothing.
  const std::u16string& Complaint() const { return m_complaint; }

 private:
  static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD);
  void TakeStep();
  void FillIn(HWND dialog);

  int m_row;
  std::u16string m_cachePath;
  bool m_isFilledIn = false;
  u32 m_idleTicks = 0;
  std::u16string m_complaint;
  UINT_PTR m_timer;
};

}  // namespace larkspur::host
