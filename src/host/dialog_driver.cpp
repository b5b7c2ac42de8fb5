// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/dialog_driver.h"

#include "host/dialog_watch.h"
#include "platform/windows/win32.h"

namespace larkspur::host {
namespace {

constexpr UINT kTickMilliseconds = 20;
constexpr u32 kPatienceTicks = 100;  // two seconds in which the dialog does nothing

cDialogDriver* g_driver = nullptr;

// The window of this thread that the user would see on top.
HWND TopWindow() {
  HWND found = nullptr;
  const auto look = [](HWND window, LPARAM result) -> BOOL {
    if (!IsWindowVisible(window) || !IsWindowEnabled(window)) return TRUE;
    if (!GetDlgItem(window, kDefineButton)) return TRUE;  // the system's own helpers
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
  };
  EnumThreadWindows(GetCurrentThreadId(), look, reinterpret_cast<LPARAM>(&found));
  return found;
}

BOOL CALLBACK AppendText(HWND control, LPARAM result) {
  wchar_t name[16] = {};
  GetClassNameW(control, name, 16);
  if (lstrcmpiW(name, L"Static") != 0) return TRUE;
  wchar_t line[1024] = {};
  GetWindowTextW(control, line, 1024);
  auto& text = *reinterpret_cast<std::u16string*>(result);
  if (line[0] && !text.empty()) text += u' ';
  text += FromWide(line);
  return TRUE;
}

void Press(HWND form, int id) {
  PostMessageW(GetDlgItem(form, id), BM_CLICK, 0, 0);
}

}  // namespace

cDialogDriver::cDialogDriver(int row, std::u16string cachePath)
    : m_row(row),
      m_cachePath(std::move(cachePath)),
      m_timer(SetTimer(nullptr, 0, kTickMilliseconds, OnTimer)) {
  g_driver = this;
}

cDialogDriver::~cDialogDriver() {
  KillTimer(nullptr, m_timer);
  g_driver = nullptr;
}

void CALLBACK cDialogDriver::OnTimer(HWND, UINT, UINT_PTR, DWORD) {
  if (g_driver) g_driver->TakeStep();
}

void cDialogDriver::TakeStep() {
  const HWND top = TopWindow();
  if (!top) return;
  if (!IsDeviceDialog(top)) {
    if (m_complaint.empty())
      EnumChildWindows(top, AppendText, reinterpret_cast<LPARAM>(&m_complaint));
    return Press(top, kDefineButton);
  }
  if (!m_isFilledIn) return FillIn(top);
  // A complaint was read and put away, or the dialog does not take what it was given.
  if (m_complaint.empty() && ++m_idleTicks < kPatienceTicks) return;
  if (m_complaint.empty()) m_complaint = u"the module's dialog does not take source and cache";
  Press(top, kCancelButton);
}

void cDialogDriver::FillIn(HWND dialog) {
  m_isFilledIn = true;
  const HWND list = GetDlgItem(dialog, kSourceList);
  SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(m_row), 0);
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(kSourceList, CBN_SELCHANGE),
               reinterpret_cast<LPARAM>(list));
  SetDlgItemTextW(dialog, kCachePathEdit, Wide(m_cachePath));
  Press(dialog, kDefineButton);
}

}  // namespace larkspur::host
