// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/status_bar_child.h"

#include "platform/windows/win32.h"
#include "ui/custom_form.h"

namespace larkspur {

bool cStatusBarChild::Create(cCustomForm& form, std::vector<i32> widths) {
  m_widths = std::move(widths);
  return cChild::Create(form, kPlacedByForm);
}

void cStatusBarChild::OnScale() {
  std::vector<int> edges;
  int edge = 0;
  for (const i32 width : m_widths) edges.push_back(edge += Theme().Pixels(width));
  edges.push_back(-1);
  Send(SB_SETPARTS, edges.size(), reinterpret_cast<LPARAM>(edges.data()));
}

void cStatusBarChild::SetPart(u32 part, std::u16string_view text) {
  Send(SB_SETTEXTW, part, reinterpret_cast<LPARAM>(Wide(std::u16string(text))));
}

i32 cStatusBarChild::Layout() {
  Send(WM_SIZE);
  Repaint();  // the control moves what it showed along, its grip included
  RECT box{};
  GetWindowRect(Handle(), &box);
  return box.bottom - box.top;
}

}  // namespace larkspur
