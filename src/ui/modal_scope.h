// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The owner of a modal form, kept from doing anything while the form is open.

#include <windows.h>

namespace larkspur {

class cModalScope {
 public:
  // Disables the top-level window that `parent` is or lies in. Null or a window that is gone: there
  // is no owner. One that is disabled already stays so afterwards.
  explicit cModalScope(HWND parent);
  cModalScope(const cModalScope&) = delete;
  cModalScope& operator=(const cModalScope&) = delete;
  ~cModalScope() { Release(); }

  HWND Owner() const { return m_owner; }
  void Release();

 private:
  HWND m_owner;
  bool m_disabled = false;
};

}  // namespace larkspur
