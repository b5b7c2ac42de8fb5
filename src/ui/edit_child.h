// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// One line of text that the user types.

#include <string_view>

#include "ui/child.h"

namespace larkspur {

class cEditChild : public cValueChild {
 public:
  static constexpr u32 kMostCharacters = 16384;

  cEditChild();

  // The text shown while there is none of the user's.
  void SetHint(std::u16string_view hint);
  // Replaces the whole text; `onChange` is not called.
  void SetValue(std::u16string_view text);
  std::u16string Value() const { return Text(); }
  bool IsEmpty() const { return GetWindowTextLengthW(Handle()) == 0; }
  void SelectAll() { Send(EM_SETSEL, 0, -1); }
  // Selects characters [first, first + count).
  void Select(u32 first, u32 count) { Send(EM_SETSEL, first, first + count); }

 private:
  void OnCreate() override;
  bool OnCommand(u32 notification) override;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnCharacter(const WindowMessage& message);

  bool m_setting = false;
};

}  // namespace larkspur
