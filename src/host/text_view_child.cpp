// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/text_view_child.h"

#include "host/menu_place.h"

namespace larkspur::host {
namespace {

constexpr i32 kSmallestText = 8, kAroundText = 8;  // units

}  // namespace

cTextViewChild::cTextViewChild()
    : cChild(WC_EDITW, WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_READONLY | ES_AUTOHSCROLL,
             WS_EX_CLIENTEDGE) {}

void cTextViewChild::FitText(i32 columns, i32 lines) {
  const Size room = ClientSize();
  const auto fits = [&](i32 size) {
    const Size letter = TextSize(Theme().Font(kFontFixed, size), u"0");
    return letter.width * columns + Theme().Pixels(kAroundText) <= room.width &&
           letter.height * lines <= room.height;
  };
  i32 size = kTextSize;
  while (size > kSmallestText && !fits(size)) --size;
  Send(WM_SETFONT, reinterpret_cast<WPARAM>(Theme().Font(kFontFixed, size)), TRUE);
}

MessageAnswer cTextViewChild::OnMessage(const WindowMessage& message) {
  // The control would keep Tab and Escape, which are the form's.
  if (message.id == WM_GETDLGCODE) return DLGC_WANTARROWS | DLGC_WANTCHARS;
  if (message.id == WM_CONTEXTMENU && onContextMenu) {
    onContextMenu(MenuPlace(Handle(), message.lParam));
    return 0;
  }
  return cChild::OnMessage(message);
}

}  // namespace larkspur::host
