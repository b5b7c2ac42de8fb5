// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/wide_string.h"

#include <algorithm>
#include <new>

namespace larkspur {

cWideString& cWideString::operator=(const cWideString& other) {
  if (this != &other) Assign(other.View());
  return *this;
}

cWideString::~cWideString() {
  delete[] m_text;
}

void cWideString::Assign(std::u16string_view text) {
  delete[] m_text;
  m_text = nullptr;
  if (text.empty()) return;
  m_text = new (std::nothrow) char16_t[text.size() + 1];
  if (!m_text) return;
  std::copy(text.begin(), text.end(), m_text);
  m_text[text.size()] = u'\0';
}

}  // namespace larkspur
