// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/tab_child.h"

#include "platform/windows/win32.h"
#include "ui/custom_form.h"

namespace larkspur::host {

bool cTabChild::Create(cCustomForm& form, u32 id, std::u16string_view name,
                       const std::vector<std::u16string_view>& titles) {
  if (!cChild::Create(form, kPlacedByForm, id)) return false;
  SetText(name);
  int at = 0;
  for (const std::u16string_view title : titles) {
    const std::u16string text(title);
    TCITEMW item{};
    item.mask = TCIF_TEXT;
    item.pszText = WideIn(text);
    Send(TCM_INSERTITEMW, static_cast<WPARAM>(at++), reinterpret_cast<LPARAM>(&item));
  }
  return true;
}

MessageAnswer cTabChild::OnNotify(NMHDR& header) {
  if (header.code == static_cast<UINT>(TCN_SELCHANGE)) TellChange();
  return std::nullopt;
}

}  // namespace larkspur::host
