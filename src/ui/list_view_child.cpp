// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/list_view_child.h"

#include <algorithm>

#include "platform/windows/win32.h"
#include "ui/custom_form.h"

namespace larkspur {
namespace {

constexpr DWORD kStyle = WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SINGLESEL |
                         LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS;
constexpr DWORD kExtended = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;

// Units.
constexpr i32 kAroundText = 16, kBesideIcon = 6, kSortArrow = 14, kLeastGrowing = 120;
constexpr u32 kMostMeasured = 200;  // rows; the others count when they are shown
constexpr UINT kFitColumns = WM_APP + 1, kChoice = WM_APP + 2;

bool StartsWith(const std::u16string& text, const wchar_t* start) {
  const int length = lstrlenW(start);
  if (static_cast<size_t>(length) > text.size()) return false;
  return CompareStringOrdinal(Wide(text), length, start, length, TRUE) == CSTR_EQUAL;
}

}  // namespace

cListViewChild::cListViewChild() : cValueChild(WC_LISTVIEWW, kStyle, WS_EX_CLIENTEDGE) {}

void cListViewChild::OnCreate() {
  Send(LVM_SETEXTENDEDLISTVIEWSTYLE, kExtended, kExtended);
  SetVisualStyle(Handle(), L"Explorer");
  m_header.Take(reinterpret_cast<HWND>(Send(LVM_GETHEADER)));
  SetVisualStyle(m_header.Handle());
}

void cListViewChild::OnScale() {
  if (m_icons) {
    const HIMAGELIST icons = m_icons->At(Theme().Pixels(kIconSize));
    Send(LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(icons));
  }
  MeasureColumns();
}

void cListViewChild::SetColumns(std::vector<Column> columns) {
  m_columns = std::move(columns);
  for (size_t i = 0; i < m_columns.size(); ++i) {
    LVCOLUMNW column{};
    column.mask = LVCF_TEXT | LVCF_FMT | LVCF_SUBITEM;
    column.pszText = WideIn(m_columns[i].title);
    column.fmt = m_columns[i].rightAligned ? LVCFMT_RIGHT : LVCFMT_LEFT;
    column.iSubItem = static_cast<int>(i);
    Send(LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
  }
  OnScale();
}

void cListViewChild::SetIcons(cIconList* icons) {
  m_icons = icons;
  OnScale();
}

void cListViewChild::SetModel(const cListModel* model) {
  m_model = model;
  Reload();
}

void cListViewChild::Reload() {
  Arrange();
  MeasureColumns();
}

void cListViewChild::Refresh() {
  MeasureColumns();
  Repaint();
}

void cListViewChild::Arrange() {
  m_setting = true;
  m_rows.Reset(m_model ? m_model->RowCount() : 0);
  if (m_sortColumn < m_columns.size()) {
    m_rows.Sort(*m_columns[m_sortColumn].sort, m_descending);
    m_header.ShowSorted(m_sortColumn, m_descending);
  }
  LVITEMW none{};
  none.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
  Send(LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&none));
  Send(LVM_SETITEMCOUNT, m_rows.Count());
  LVITEMW first{};
  first.state = first.stateMask = LVIS_FOCUSED;
  Send(LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&first));
  Repaint();
  m_setting = false;
}

// ---- The columns' widths ----

i32 cListViewChild::CellWidth(u32 column, i32 text) const {
  const i32 icon = column == 0 && m_icons ? kIconSize + kBesideIcon : 0;
  return text + Theme().Pixels(icon + kAroundText);
}

ColumnNeed cListViewChild::NeedOf(u32 column) const {
  const cTextRuler ruler(Font());
  const Column& shown = m_columns[column];
  i32 wanted =
      ruler.Width(shown.title) + Theme().Pixels(kAroundText + (shown.sort ? kSortArrow : 0));
  const u32 rows = m_model ? m_rows.Count() : 0, step = rows / kMostMeasured + 1;
  for (u32 row = 0; row < rows; row += step) {
    const i32 text = ruler.Width(m_model->CellText(row, column));
    wanted = std::max(wanted, CellWidth(column, text));
  }
  return {wanted, shown.grows, Theme().Pixels(kLeastGrowing)};
}

// A cell that is about to be shown may need more than those that were measured.
void cListViewChild::Notice(u32 column, const std::u16string& text) {
  const i32 width = CellWidth(column, TextSize(Font(), text).width);
  if (column >= m_needs.size() || width <= m_needs[column].wanted) return;
  m_needs[column].wanted = width;
  PostMessageW(Handle(), kFitColumns, 0, 0);
}

void cListViewChild::MeasureColumns() {
  m_needs.clear();
  for (u32 i = 0; i < m_columns.size(); ++i) m_needs.push_back(NeedOf(i));
  FitColumns();
}

void cListViewChild::FitColumns() {
  if (!m_fitsColumns || !IsOpen()) return;
  const std::vector<i32> widths = ColumnWidths(m_needs, ClientSize().width);
  for (size_t i = 0; i < widths.size(); ++i) Send(LVM_SETCOLUMNWIDTH, i, widths[i]);
}

i32 cListViewChild::WantedWidth() const {
  i32 width = 2 * GetSystemMetrics(SM_CXEDGE) + GetSystemMetrics(SM_CXVSCROLL);
  for (const ColumnNeed& need : m_needs) width += need.wanted;
  return width;
}

MessageAnswer cListViewChild::OnSize(const WindowMessage&) {
  FitColumns();
  return std::nullopt;
}

MessageAnswer cListViewChild::OnHeaderNotify(const WindowMessage& message) {
  const NMHDR& header = *reinterpret_cast<const NMHDR*>(message.lParam);
  if (header.code == HDN_ENDTRACKW) m_fitsColumns = false;
  return std::nullopt;
}

void cListViewChild::SortBy(u32 column, bool descending) {
  if (column >= m_columns.size() || !m_columns[column].sort) return;
  const u32 selected = Value();
  m_sortColumn = column;
  m_descending = descending;
  Arrange();
  SetValue(selected);
}

u32 cListViewChild::Value() const {
  const LRESULT position = Send(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED);
  const bool inRange = position >= 0 && position < static_cast<LRESULT>(m_rows.Count());
  return IsOpen() && inRange ? m_rows.RowAt(static_cast<u32>(position)) : kNoRow;
}

void cListViewChild::SetValue(u32 row) {
  if (row >= m_rows.Count()) return;
  m_choice = row;
  m_setting = true;
  const u32 position = m_rows.PositionOf(row);
  LVITEMW item{};
  item.state = item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
  Send(LVM_SETITEMSTATE, position, reinterpret_cast<LPARAM>(&item));
  Send(LVM_ENSUREVISIBLE, position, FALSE);
  m_setting = false;
}

// ---- The control's own messages ----

MessageAnswer cListViewChild::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cListViewChild> kMessages[] = {
      {WM_SIZE, &cListViewChild::OnSize},           {kFitColumns, &cListViewChild::OnSize},
      {WM_NOTIFY, &cListViewChild::OnHeaderNotify}, {WM_GETDLGCODE, &cListViewChild::OnKeyCode},
      {WM_CONTEXTMENU, &cListViewChild::OnMenu},    {kChoice, &cListViewChild::OnChoice},
  };
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cValueChild::OnMessage(message);
}

// Enter on a row is the list's own and not the default button's.
MessageAnswer cListViewChild::OnKeyCode(const WindowMessage& message) {
  const MSG* key = reinterpret_cast<const MSG*>(message.lParam);
  const bool enter = key && key->message == WM_KEYDOWN && key->wParam == VK_RETURN;
  if (!enter || !onActivate || Value() == kNoRow) return std::nullopt;
  return DLGC_WANTMESSAGE;
}

MessageAnswer cListViewChild::OnMenu(const WindowMessage& message) {
  if (!onContextMenu) return std::nullopt;
  POINT where{static_cast<short>(LOWORD(message.lParam)),
              static_cast<short>(HIWORD(message.lParam))};
  if (message.lParam == -1) {  // the menu key: below the selected row
    RECT box{};
    box.left = LVIR_LABEL;
    const LRESULT selected = Send(LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED);
    if (selected >= 0) {
      Send(LVM_GETITEMRECT, static_cast<WPARAM>(selected), reinterpret_cast<LPARAM>(&box));
    }
    where = {box.left, box.bottom};
    ClientToScreen(Handle(), &where);
  }
  onContextMenu(Value(), where);
  return 0;
}

// ---- What the control asks and tells its form ----

MessageAnswer cListViewChild::OnNotify(NMHDR& header) {
  struct Row {
    UINT code;
    MessageAnswer (cListViewChild::*handle)(NMHDR& header);
  };
  static constexpr Row kRows[] = {
      {LVN_GETDISPINFOW, &cListViewChild::OnCellWanted},
      {LVN_COLUMNCLICK, &cListViewChild::OnTitleClicked},
      {LVN_ITEMCHANGED, &cListViewChild::OnRowChanged},
      {LVN_ITEMACTIVATE, &cListViewChild::OnActivated},
      {LVN_ODFINDITEMW, &cListViewChild::OnTextTyped},
      {NM_CUSTOMDRAW, &cListViewChild::OnRowDrawn},
  };
  for (const Row& row : kRows) {
    if (row.code == header.code) return (this->*row.handle)(header);
  }
  return std::nullopt;
}

MessageAnswer cListViewChild::OnCellWanted(NMHDR& header) {
  LVITEMW& item = reinterpret_cast<NMLVDISPINFOW&>(header).item;
  if (!m_model || static_cast<u32>(item.iItem) >= m_rows.Count()) return 0;
  const u32 row = m_rows.RowAt(static_cast<u32>(item.iItem));
  if (item.mask & LVIF_TEXT) {
    m_cell = m_model->CellText(row, static_cast<u32>(item.iSubItem));
    item.pszText = WideIn(m_cell);
    Notice(static_cast<u32>(item.iSubItem), m_cell);
  }
  if (item.mask & LVIF_IMAGE) item.iImage = item.iSubItem == 0 ? m_model->RowIcon(row) : -1;
  return 0;
}

MessageAnswer cListViewChild::OnTitleClicked(NMHDR& header) {
  const u32 column = static_cast<u32>(reinterpret_cast<NMLISTVIEW&>(header).iSubItem);
  SortBy(column, column == m_sortColumn && !m_descending);
  return 0;
}

MessageAnswer cListViewChild::OnRowChanged(NMHDR& header) {
  const NMLISTVIEW& change = reinterpret_cast<NMLISTVIEW&>(header);
  const UINT before = change.uOldState & LVIS_SELECTED, after = change.uNewState & LVIS_SELECTED;
  if (m_setting || before == after) return 0;
  if (m_keepsChoice) {
    PostMessageW(Handle(), kChoice, 0, 0);  // a row loses the selection before another has it
  } else {
    TellChange();
  }
  return 0;
}

MessageAnswer cListViewChild::OnChoice(const WindowMessage&) {
  const u32 row = Value();
  if (row == kNoRow) {
    SetValue(m_choice);
  } else if (row != m_choice) {
    m_choice = row;
    TellChange();
  }
  return 0;
}

// While the keyboard is elsewhere, the system draws the selected row in next to the colour of the
// others.
MessageAnswer cListViewChild::OnRowDrawn(NMHDR& header) {
  NMLVCUSTOMDRAW& draw = reinterpret_cast<NMLVCUSTOMDRAW&>(header);
  if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  const WPARAM row = draw.nmcd.dwItemSpec;
  // The state in `draw` is not to be relied on for lists that always show their selection.
  const bool isSelected = Send(LVM_GETITEMSTATE, row, LVIS_SELECTED) & LVIS_SELECTED;
  if (draw.nmcd.dwDrawStage != CDDS_ITEMPREPAINT || !isSelected || HasFocus())
    return CDRF_DODEFAULT;
  draw.nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED);
  draw.clrTextBk = GetSysColor(IsHighContrast() ? COLOR_HIGHLIGHT : COLOR_BTNSHADOW);
  draw.clrText = GetSysColor(IsHighContrast() ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT);
  return CDRF_NEWFONT;
}

MessageAnswer cListViewChild::OnActivated(NMHDR&) {
  const u32 row = Value();
  if (row != kNoRow && onActivate) onActivate(row);
  return 0;
}

// Answers with the position of the next row that starts with what was typed; -1 without one.
MessageAnswer cListViewChild::OnTextTyped(NMHDR& header) {
  const NMLVFINDITEMW& wanted = reinterpret_cast<NMLVFINDITEMW&>(header);
  const u32 count = m_rows.Count();
  if (!m_model || !(wanted.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL))) return -1;
  for (u32 i = 0; i < count; ++i) {
    const u32 position = (static_cast<u32>(std::max(0, wanted.iStart)) + i) % count;
    if (StartsWith(m_model->CellText(m_rows.RowAt(position), 0), wanted.lvfi.psz)) return position;
  }
  return -1;
}

void cHeaderChild::ShowSorted(u32 column, bool descending) {
  for (u32 i = 0; i < Count(); ++i) {
    HDITEMW item{};
    item.mask = HDI_FORMAT;
    Send(HDM_GETITEMW, i, reinterpret_cast<LPARAM>(&item));
    item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
    if (i == column) item.fmt |= descending ? HDF_SORTDOWN : HDF_SORTUP;
    Send(HDM_SETITEMW, i, reinterpret_cast<LPARAM>(&item));
  }
}

}  // namespace larkspur
