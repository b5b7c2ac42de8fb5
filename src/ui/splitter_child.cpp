// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/splitter_child.h"

#include "ui/custom_form.h"

namespace larkspur {
namespace {

constexpr i32 kKeyStep = 10;  // units

}  // namespace

cSplitterChild::cSplitterChild(Along along)
    : cValueChild(WC_STATICW, WS_TABSTOP | SS_NOTIFY), m_along(along) {}

bool cSplitterChild::Create(cCustomForm& form, std::u16string_view name) {
  if (!cChild::Create(form, kPlacedByForm)) return false;
  SetText(name);
  return true;
}

MessageAnswer cSplitterChild::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cSplitterChild> kMessages[] = {
      {WM_SETCURSOR, &cSplitterChild::OnCursor},      {WM_LBUTTONDOWN, &cSplitterChild::OnPress},
      {WM_MOUSEMOVE, &cSplitterChild::OnDrag},        {WM_LBUTTONUP, &cSplitterChild::OnRelease},
      {WM_GETDLGCODE, &cSplitterChild::OnKeyCode},    {WM_KEYDOWN, &cSplitterChild::OnKey},
      {WM_PAINT, &cSplitterChild::OnPaint},           {WM_SETFOCUS, &cSplitterChild::OnFocusChange},
      {WM_KILLFOCUS, &cSplitterChild::OnFocusChange},
  };
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cValueChild::OnMessage(message);
}

MessageAnswer cSplitterChild::OnCursor(const WindowMessage&) {
  SetCursor(LoadCursorW(nullptr, m_along == Along::Horizontally ? IDC_SIZEWE : IDC_SIZENS));
  return TRUE;
}

i32 cSplitterChild::PointerPosition(const WindowMessage& message) const {
  POINT pointer{static_cast<short>(LOWORD(message.lParam)),
                static_cast<short>(HIWORD(message.lParam))};
  ClientToScreen(Handle(), &pointer);
  return m_along == Along::Horizontally ? pointer.x : pointer.y;
}

MessageAnswer cSplitterChild::OnPress(const WindowMessage& message) {
  m_grip = PointerPosition(message) - Value();
  SetCapture(Handle());
  return 0;
}

MessageAnswer cSplitterChild::OnDrag(const WindowMessage& message) {
  if (GetCapture() == Handle()) SlideTo(PointerPosition(message) - m_grip);
  return 0;
}

MessageAnswer cSplitterChild::OnRelease(const WindowMessage&) {
  if (GetCapture() == Handle()) ReleaseCapture();
  return 0;
}

MessageAnswer cSplitterChild::OnKeyCode(const WindowMessage&) {
  return DLGC_WANTARROWS;
}

MessageAnswer cSplitterChild::OnKey(const WindowMessage& message) {
  const bool sideways = m_along == Along::Horizontally;
  const WPARAM back = sideways ? VK_LEFT : VK_UP, on = sideways ? VK_RIGHT : VK_DOWN;
  const i32 step = Theme().Pixels(kKeyStep);
  if (message.wParam == back) SlideTo(Value() - step);
  if (message.wParam == on) SlideTo(Value() + step);
  return 0;
}

MessageAnswer cSplitterChild::OnPaint(const WindowMessage&) {
  return PaintBare();
}

MessageAnswer cSplitterChild::OnFocusChange(const WindowMessage&) {
  Repaint();
  return 0;
}

void cSplitterChild::SlideTo(i32 wanted) {
  const i32 before = Value();
  m_wanted = SplitPosition(wanted, m_range);
  if (m_wanted == before) return;
  Form().Layout();
  TellChange();
}

}  // namespace larkspur
