// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/modal_scope.h"

namespace larkspur {

cModalScope::cModalScope(HWND parent)
    : m_owner(parent && IsWindow(parent) ? GetAncestor(parent, GA_ROOT) : nullptr) {
  if (!m_owner || !IsWindowEnabled(m_owner)) return;
  EnableWindow(m_owner, FALSE);
  m_disabled = true;
}

void cModalScope::Release() {
  if (m_disabled && IsWindow(m_owner)) EnableWindow(m_owner, TRUE);
  m_disabled = false;
}

}  // namespace larkspur
