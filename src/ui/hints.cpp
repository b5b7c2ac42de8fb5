// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/hints.h"

#include <commctrl.h>

#include "platform/windows/win32.h"
#include "ui/module_instance.h"
#include "ui/screen.h"

namespace larkspur {
namespace {

constexpr i32 kWidestHint = 320;  // units; longer hints wrap

HWND MakeTip(HWND form) {
  const HWND tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                                   WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0, form,
                                   nullptr, ModuleInstance(), nullptr);
  SendMessageW(tip, TTM_SETMAXTIPWIDTH, 0, Scaled(kWidestHint, DpiOf(form)));
  return tip;
}

}  // namespace

void cHints::Set(HWND form, HWND control, const std::u16string& text) {
  if (!m_tip) m_tip = MakeTip(form);
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = form;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = WideIn(text);
  SendMessageW(m_tip, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  if (!text.empty()) SendMessageW(m_tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace larkspur
