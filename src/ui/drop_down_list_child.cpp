// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/drop_down_list_child.h"

#include <algorithm>

#include "platform/windows/win32.h"
#include "ui/model/text_room.h"
#include "ui/screen.h"

namespace larkspur {
namespace {

constexpr i32 kUsualHeight = 22, kFrame = 6;  // units; the frame is what lies around the text
constexpr WPARAM kTheField = static_cast<WPARAM>(-1);
constexpr WPARAM kRowsShown = 12;
constexpr i32 kTextMargin = 2, kAroundText = 12;  // units
constexpr i32 kMostOfScreen = 60;                 // percent

}  // namespace

cDropDownListChild::cDropDownListChild()
    : cValueChild(WC_COMBOBOXW, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED |
                                    CBS_HASSTRINGS) {}

void cDropDownListChild::Clear() {
  Send(CB_RESETCONTENT);
  m_widest = 0;
}

int cDropDownListChild::Add(std::u16string_view text) {
  const std::u16string row(text);
  const LRESULT index = Send(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(Wide(row)));
  if (index < 0) return kNoRow;
  MakeRoomFor(text);
  return static_cast<int>(index);
}

// The list that drops down may be wider than the control, but not than the screen.
void cDropDownListChild::MakeRoomFor(std::u16string_view text) {
  m_widest = std::max(m_widest, TextSize(Font(), text).width);
  const i32 most = WorkAreaAround(Handle()).width * kMostOfScreen / 100;
  Send(CB_SETDROPPEDWIDTH, static_cast<WPARAM>(std::min(WantedWidth(), most)));
}

i32 cDropDownListChild::WantedWidth() const {
  return m_widest + GetSystemMetrics(SM_CXVSCROLL) + Theme().Pixels(kAroundText);
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
  const i32 height = Place().height > 0 ? Place().height : kUsualHeight;
  const i32 field = Theme().Pixels(height - kFrame);
  Send(CB_SETITEMHEIGHT, kTheField, field);
  Send(CB_SETITEMHEIGHT, 0, field);
  Send(CB_SETMINVISIBLE, kRowsShown);
}

MessageAnswer cDropDownListChild::OnDrawItem(const DRAWITEMSTRUCT& item) {
  const bool isSelected = item.itemState & ODS_SELECTED, isGrey = item.itemState & ODS_DISABLED;
  FillRect(item.hDC, &item.rcItem, GetSysColorBrush(isSelected ? COLOR_HIGHLIGHT : COLOR_WINDOW));
  SetTextColor(item.hDC, GetSysColor(isGrey       ? COLOR_GRAYTEXT
                                     : isSelected ? COLOR_HIGHLIGHTTEXT
                                                  : COLOR_WINDOWTEXT));
  SetBkMode(item.hDC, TRANSPARENT);
  const cSelected font(item.hDC, Font());
  const cTextRuler ruler(Font());
  RECT box = item.rcItem;
  InflateRect(&box, -Theme().Pixels(kTextMargin), 0);
  const auto widthOf = [&ruler](std::u16string_view text) { return ruler.Width(text); };
  const std::u16string text =
      ShortenedText(RowText(static_cast<int>(item.itemID)), box.right - box.left, widthOf);
  DrawTextW(item.hDC, Wide(text), static_cast<int>(text.size()), &box,
            DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
  const bool showsFocus = (item.itemState & ODS_FOCUS) && !(item.itemState & ODS_NOFOCUSRECT);
  if (showsFocus) DrawFocusRect(item.hDC, &item.rcItem);
  return TRUE;
}

bool cDropDownListChild::OnCommand(u32 notification) {
  if (notification == CBN_SELCHANGE) TellChange();
  return true;
}

}  // namespace larkspur
