// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A window of the system: the handle, and what can be asked of any window. Derived classes say how
// it comes to be and what it is for.
//
// A window belongs to the thread that opened it; so do all calls here. Calls on a window that is
// not open do nothing and answer with zeros.

#include <windows.h>

#include <string>
#include <string_view>

#include "ui/message_table.h"
#include "ui/model/geometry.h"

namespace larkspur {

class cWindow {
 public:
  cWindow() = default;
  cWindow(const cWindow&) = delete;
  cWindow& operator=(const cWindow&) = delete;
  virtual ~cWindow() = default;

  HWND Handle() const { return m_handle; }
  bool IsOpen() const { return m_handle != nullptr; }

  // The text that is also the window's name for screen readers.
  void SetText(std::u16string_view text);
  std::u16string Text() const;

  void Enable(bool enabled);
  bool IsEnabled() const;
  void Show(bool shown);
  bool HasFocus() const { return m_handle && GetFocus() == m_handle; }

  u32 Dpi() const;
  Size ClientSize() const;
  void Repaint() const;

  LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;

 protected:
  // Nothing when the message is left to the system's default.
  virtual MessageAnswer OnMessage(const WindowMessage& /*message*/) { return std::nullopt; }

  // OnMessage for the system's callbacks, which nothing may be thrown through: without memory a
  // message is left to the system's default.
  MessageAnswer AnswerTo(const WindowMessage& message) noexcept;

  void Attach(HWND handle) { m_handle = handle; }
  void Detach() { m_handle = nullptr; }

 private:
  HWND m_handle = nullptr;
};

}  // namespace larkspur
