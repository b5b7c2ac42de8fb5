// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/drop_down_list_child.h"

#include "ui/wide.h"

namespace larkspur {
namespace {

constexpr i32 kFrame = 6;  // units of the control's height around its text
constexpr WPARAM kTheField = static_cast<WPARAM>(-1);
constexpr WPARAM kRowsShown = 12;

}  // namespace

cDropDownListChild::cDropDownListChild()
    : cValueChild(WC_COMBOBOXW, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST) {}

int cDropDownListChild::Add(std::u16string_view text) {
  const std::u16string row(text);
  const LRESULT index = Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(Wide(row)));
  return index < 0 ? kNoRow : static_cast<int>(index);
}

std::u16string cDropDownListChild::RowText(int row) const {
  const LRESULT length = Send(CB_GETLBTEXTLEN, static_cast<WPARAM>(row));
  if (row < 0 || length < 0) return {};
  std::u16string text(static_cast<size_t>(length) + 1, u'\0');
  Send(CB_GETLBTEXT, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<size_t>(length));
  return text;
}

void cDropDownListChild::OnScale() {
  // The control's height follows from that of its field, whatever the layout asks for.
  const i32 field = Theme().Pixels(Place().height - kFrame);
  Send(CB_SETITEMHEIGHT, kTheField, field);
  Send(CB_SETITEMHEIGHT, 0, field);
  Send(CB_SETMINVISIBLE, kRowsShown);
}

bool cDropDownListChild::OnCommand(u32 notification) {
  if (notification == CBN_SELCHANGE) TellChange();
  return true;
}

}  // namespace larkspur
