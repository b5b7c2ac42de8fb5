// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/window.h"

#include <new>

#include "platform/windows/win32.h"
#include "ui/screen.h"

namespace larkspur {

void cWindow::SetText(std::u16string_view text) {
  if (m_handle) SetWindowTextW(m_handle, Wide(std::u16string(text)));
}

std::u16string cWindow::Text() const {
  if (!m_handle) return {};
  std::u16string text(static_cast<size_t>(GetWindowTextLengthW(m_handle)) + 1, u'\0');
  const int length = GetWindowTextW(m_handle, WideBuffer(text), static_cast<int>(text.size()));
  text.resize(static_cast<size_t>(length));
  return text;
}

void cWindow::Enable(bool enabled) {
  if (m_handle) EnableWindow(m_handle, enabled);
}

bool cWindow::IsEnabled() const {
  return m_handle && IsWindowEnabled(m_handle);
}

void cWindow::Show(bool shown) {
  if (m_handle) ShowWindow(m_handle, shown ? SW_SHOW : SW_HIDE);
}

u32 cWindow::Dpi() const {
  return m_handle ? DpiOf(m_handle) : kUnitDpi;
}

Size cWindow::ClientSize() const {
  RECT box{};
  if (m_handle) GetClientRect(m_handle, &box);
  return {box.right, box.bottom};
}

void cWindow::Repaint() const {
  if (m_handle) InvalidateRect(m_handle, nullptr, TRUE);
}

LRESULT cWindow::Send(UINT message, WPARAM wParam, LPARAM lParam) const {
  return m_handle ? SendMessageW(m_handle, message, wParam, lParam) : 0;
}

MessageAnswer cWindow::AnswerTo(const WindowMessage& message) noexcept {
  try {
    return OnMessage(message);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace larkspur
