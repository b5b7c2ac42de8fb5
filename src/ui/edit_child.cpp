// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/edit_child.h"

#include "platform/windows/win32.h"

namespace larkspur {
namespace {

constexpr WPARAM kControlA = 1;  // the character that Ctrl+A makes

}  // namespace

cEditChild::cEditChild()
    : cValueChild(WC_EDITW, WS_TABSTOP | ES_LEFT | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE) {}

void cEditChild::OnCreate() {
  Send(EM_SETLIMITTEXT, kMostCharacters);
}

void cEditChild::SetHint(std::u16string_view hint) {
  const std::u16string text(hint);
  constexpr WPARAM kEvenWithFocus = TRUE;
  Send(EM_SETCUEBANNER, kEvenWithFocus, reinterpret_cast<LPARAM>(Wide(text)));
}

void cEditChild::SetValue(std::u16string_view text) {
  m_setting = true;
  SetText(text.substr(0, kMostCharacters));
  m_setting = false;
}

bool cEditChild::OnCommand(u32 notification) {
  if (notification == EN_CHANGE && !m_setting) TellChange();
  return true;
}

MessageAnswer cEditChild::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cEditChild> kMessages[] = {{WM_CHAR, &cEditChild::OnCharacter}};
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cValueChild::OnMessage(message);
}

// Older systems' single lines know no Ctrl+A and beep.
MessageAnswer cEditChild::OnCharacter(const WindowMessage& message) {
  if (message.wParam != kControlA) return std::nullopt;
  SelectAll();
  return 0;
}

}  // namespace larkspur
