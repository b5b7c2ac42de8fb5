// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/child.h"

#include "ui/custom_form.h"
#include "ui/module_instance.h"

namespace larkspur {

cChild::~cChild() {
  if (!IsOpen()) return;
  m_form->Forget(*this);
  RemoveWindowSubclass(Handle(), Procedure, 0);
  DestroyWindow(Handle());
}

bool cChild::Create(cCustomForm& form, const AnchoredBox& place, u32 id) {
  m_form = &form;
  m_place = place;
  m_id = id;
  // Siblings are clipped: while a form is resized, one may pass over another.
  const HWND handle = CreateWindowExW(
      m_exStyle, m_class, L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | m_style, 0, 0, 0, 0,
      form.Handle(), reinterpret_cast<HMENU>(UINT_PTR{id}), ModuleInstance(), nullptr);
  if (!handle) return false;
  Attach(handle);
  SetWindowSubclass(handle, Procedure, 0, reinterpret_cast<DWORD_PTR>(this));
  form.Remember(*this);
  SetVisualStyle(handle);
  OnCreate();
  Rescale();
  return true;
}

void cChild::Move(const AnchoredBox& place) {
  m_place = place;
  if (IsOpen()) m_form->Layout();
}

void cChild::MoveTo(const Box& place) {
  if (!IsOpen()) return;
  SetWindowPos(Handle(), nullptr, place.x, place.y, place.width, place.height, kPlacing);
}

void cChild::SetFont(u32 number) {
  m_font = number;
  if (IsOpen()) Rescale();
}

void cChild::Focus() const {
  if (IsOpen())
    SendMessageW(m_form->Handle(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(Handle()), 1);
}

cTheme& cChild::Theme() const {
  return m_form->Theme();
}

HFONT cChild::Font() const {
  return Theme().Font(m_font);
}

MessageAnswer cChild::OnMessage(const WindowMessage& message) {
  return cWindow::OnMessage(message);
}

MessageAnswer cChild::PaintBare() {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(Handle(), &paint);
  const Size size = ClientSize();
  const RECT box{0, 0, size.width, size.height};
  FillRect(dc, &box, GetSysColorBrush(COLOR_BTNFACE));
  if (HasFocus()) DrawFocusRect(dc, &box);
  EndPaint(Handle(), &paint);
  return 0;
}

void cChild::Rescale() {
  Send(WM_SETFONT, reinterpret_cast<WPARAM>(Font()), TRUE);
  OnScale();
}

LRESULT CALLBACK cChild::Procedure(HWND window, UINT id, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                   DWORD_PTR self) {
  cChild& child = *reinterpret_cast<cChild*>(self);
  const MessageAnswer answer = child.AnswerTo({id, wParam, lParam});
  if (id == WM_NCDESTROY) {
    RemoveWindowSubclass(window, Procedure, 0);
    child.m_form->Forget(child);
    child.Detach();
  }
  return answer ? *answer : DefSubclassProc(window, id, wParam, lParam);
}

}  // namespace larkspur
