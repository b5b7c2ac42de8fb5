// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/navigation_provider.h"

#include "dialogs/model/chosen_path.h"

namespace larkspur {

std::u16string cNavigationProvider::Parent() const {
  return ParentFolder(m_current);
}

void cNavigationProvider::Arrive(const std::u16string& folder) {
  if (folder == m_current) return;
  if (folder == Previous()) {
    m_before.pop_back();
  } else if (!m_current.empty()) {
    m_before.push_back(m_current);
  }
  m_current = folder;
}

}  // namespace larkspur
