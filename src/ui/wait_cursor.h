// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <windows.h>

namespace larkspur {

// The pointer that says "wait", for as long as it lives.
class cWaitCursor {
 public:
  cWaitCursor() : m_before(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
  cWaitCursor(const cWaitCursor&) = delete;
  cWaitCursor& operator=(const cWaitCursor&) = delete;
  ~cWaitCursor() { SetCursor(m_before); }

 private:
  HCURSOR m_before;
};

}  // namespace larkspur
