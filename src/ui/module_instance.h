// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The binary that this code is linked into, program or module, and its way to the themed controls.

#include <windows.h>

namespace larkspur {

// The resource number of a module's manifest, which names version 6 of the common controls.
constexpr WORD kModuleManifest = 2;

HINSTANCE ModuleInstance();

// While it lives, windows made on this thread get the themed controls: in a module by its own
// manifest, whatever its host's says; in a program the program's manifest has seen to that already.
class cThemedScope {
 public:
  cThemedScope();
  cThemedScope(const cThemedScope&) = delete;
  cThemedScope& operator=(const cThemedScope&) = delete;
  ~cThemedScope();

 private:
  HANDLE m_context;
  ULONG_PTR m_cookie = 0;
  bool m_active = false;
};

}  // namespace larkspur
