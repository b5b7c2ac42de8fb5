// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A list of rows in columns. It holds no rows: it asks its model for what is on the screen, so that
// a million rows cost no more than ten. A click on a column's title sorts by it, a second one the
// other way; the user types the start of a row's first text to go there.
//
// Rows are always those of the model; where the list shows them is its own affair.

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include <commctrl.h>

#include "ui/child.h"
#include "ui/icon_list.h"
#include "ui/model/sorted_rows.h"
#include "ui/model/text_room.h"
#include "ui/window.h"

namespace larkspur {

// The header of a list: its columns' titles, and the arrow at the one that the list is sorted by.
class cHeaderChild : public cWindow {
 public:
  // The header belongs to its list, which makes and destroys it.
  void Take(HWND header) { Attach(header); }

  u32 Count() const { return static_cast<u32>(Send(HDM_GETITEMCOUNT)); }
  // An arrow at `column`, and at no other.
  void ShowSorted(u32 column, bool descending);
};

// What a list shows. The list asks while it is open; what it answers with may change only together
// with a call of Reload.
class cListModel {
 public:
  virtual u32 RowCount() const = 0;
  // REQUIRES: row < RowCount()
  virtual std::u16string CellText(u32 row, u32 column) const = 0;
  // An index into the list's icons; below 0 for none.
  virtual int RowIcon(u32 /*row*/) const { return -1; }

 protected:
  ~cListModel() = default;
};

class cListViewChild : public cValueChild {
 public:
  using cListViewSortProvider = cSortProvider;
  static constexpr u32 kNoRow = 0xFFFFFFFF;

  // As wide as its title and its texts need, until the user draws it to another width.
  struct Column {
    std::u16string title;
    bool rightAligned = false;
    bool grows = false;                           // takes the room that the others leave
    const cListViewSortProvider* sort = nullptr;  // null: the column does not sort
  };

  cListViewChild();

  // Columns and icons, once, after Create. Both outlive the list, as does the model.
  void SetColumns(std::vector<Column> columns);
  void SetIcons(cIconList* icons);
  void SetModel(const cListModel* model);

  // The model has changed: the rows are fetched again and sorted as before, none is selected, and
  // the keyboard begins at the first.
  void Reload();
  // The rows' texts have changed, but neither their number nor their order.
  void Refresh();
  void SortBy(u32 column, bool descending);

  // The selected row, or kNoRow.
  u32 Value() const;
  // Selects a row and scrolls to it; `onChange` is not called.
  void SetValue(u32 row);
  // From now on the user can choose another row, but not none; `onChange` is called, once for each
  // choice, by a posted message.
  void KeepChoice() { m_keepsChoice = true; }

  const cHeaderChild& Header() const { return m_header; }
  // The list's width, in pixels, at which no text is cut.
  i32 WantedWidth() const;

  // A row was double-clicked, or Enter pressed on it.
  std::function<void(u32 row)> onActivate;
  // A right click or the menu key, on a row or (kNoRow) beside all, at a place of the screen.
  std::function<void(u32 row, POINT where)> onContextMenu;

 private:
  void OnCreate() override;
  void OnScale() override;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnNotify(NMHDR& header) override;

  void Arrange();
  void MeasureColumns();
  void FitColumns();
  i32 CellWidth(u32 column, i32 text) const;
  ColumnNeed NeedOf(u32 column) const;
  void Notice(u32 column, const std::u16string& text);

  MessageAnswer OnSize(const WindowMessage& message);
  MessageAnswer OnHeaderNotify(const WindowMessage& message);
  MessageAnswer OnKeyCode(const WindowMessage& message);
  MessageAnswer OnMenu(const WindowMessage& message);
  MessageAnswer OnCellWanted(NMHDR& header);
  MessageAnswer OnTitleClicked(NMHDR& header);
  MessageAnswer OnRowChanged(NMHDR& header);
  MessageAnswer OnChoice(const WindowMessage& message);
  MessageAnswer OnRowDrawn(NMHDR& header);
  MessageAnswer OnActivated(NMHDR& header);
  MessageAnswer OnTextTyped(NMHDR& header);

  const cListModel* m_model = nullptr;
  std::vector<Column> m_columns;
  std::vector<ColumnNeed> m_needs;  // of each column
  bool m_fitsColumns = true;        // until the user draws one
  cIconList* m_icons = nullptr;
  cHeaderChild m_header;
  cSortedRows m_rows;
  u32 m_sortColumn = kNoRow;
  bool m_descending = false;
  bool m_setting = false;
  bool m_keepsChoice = false;
  u32 m_choice = kNoRow;  // the row that is kept
  std::u16string m_cell;  // the text that the control was given last
};

}  // namespace larkspur
