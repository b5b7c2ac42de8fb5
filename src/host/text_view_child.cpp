// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/text_view_child.h"

#include "host/menu_place.h"

namespace larkspur::host {

cTextViewChild::cTextViewChild()
    : cChild(WC_EDITW,
             WS_TABSTOP | WS_VSCROLL | WS_HSCROLL | ES_MULTILINE | ES_READONLY | ES_AUTOHSCROLL,
             WS_EX_CLIENTEDGE) {}

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
