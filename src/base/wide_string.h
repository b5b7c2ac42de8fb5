// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The wide-string member of objects that a host reads: one pointer to zero-terminated UTF-16 on
// the heap, null when empty.

#include <string_view>

#include "base/types.h"

namespace larkspur {

class cWideString {
 public:
  cWideString() = default;
  explicit cWideString(std::u16string_view text) { Assign(text); }
  cWideString(const cWideString& other) { Assign(other.View()); }
  cWideString& operator=(const cWideString& other);
  ~cWideString();

  // Copies the text; without room for it the string is empty. `text` may not lie in this string.
  void Assign(std::u16string_view text);

  // The text, zero-terminated, valid until the string changes; never null.
  const char16_t* Text() const { return m_text ? m_text : u""; }
  std::u16string_view View() const { return Text(); }
  bool IsEmpty() const { return !m_text; }

 private:
  char16_t* m_text = nullptr;
};

static_assert(sizeof(cWideString) == sizeof(void*));

}  // namespace larkspur
