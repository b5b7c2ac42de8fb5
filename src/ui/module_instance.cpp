// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/module_instance.h"

// The linker's name for the start of the binary that this code is in.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace larkspur {
namespace {

// INVALID_HANDLE_VALUE for a program, whose own context is active anyway, and without a manifest.
HANDLE MakeContext() {
  if (ModuleInstance() == GetModuleHandleW(nullptr)) return INVALID_HANDLE_VALUE;
  ACTCTXW wanted{};
  wanted.cbSize = sizeof wanted;
  wanted.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
  wanted.hModule = ModuleInstance();
  wanted.lpResourceName = MAKEINTRESOURCEW(kModuleManifest);
  return CreateActCtxW(&wanted);
}

}  // namespace

HINSTANCE ModuleInstance() {
  return reinterpret_cast<HINSTANCE>(&__ImageBase);
}

cThemedScope::cThemedScope() : m_context(MakeContext()) {
  m_active = m_context != INVALID_HANDLE_VALUE && ActivateActCtx(m_context, &m_cookie);
}

cThemedScope::~cThemedScope() {
  if (m_active) DeactivateActCtx(0, m_cookie);
  if (m_context != INVALID_HANDLE_VALUE) ReleaseActCtx(m_context);
}

}  // namespace larkspur
