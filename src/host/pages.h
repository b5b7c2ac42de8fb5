// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The views of the chosen storage, one of which is shown at a time.

#include <string>
#include <vector>

#include "host/map_child.h"
#include "host/model/log_text.h"
#include "host/model/map_watch.h"
#include "host/model/sector_reader.h"
#include "host/model/storages.h"
#include "host/text_view_child.h"
#include "ui/button_child.h"
#include "ui/custom_form.h"
#include "ui/detached_work.h"
#include "ui/edit_child.h"
#include "ui/label_child.h"
#include "ui/list_view_child.h"

namespace larkspur::host {

class cPage {
 public:
  // Makes the page's children in `form`, in the order of Tab.
  virtual void Create(cCustomForm& form) = 0;
  // Places them in `box`, pixels of the form.
  virtual void Layout(const Box& box) = 0;
  virtual void Show(bool shown) = 0;
  // The chosen storage, or null; valid until the next call.
  virtual void ShowStorage(const Storage* storage) = 0;
  // What "Copy as text" gives.
  virtual std::u16string Text() const = 0;

  // A right click or the menu key, at a place of the screen.
  std::function<void(POINT where)> onContextMenu;

 protected:
  ~cPage() = default;
};

class cPartitionPage final : public cPage, private cListModel {
 public:
  static constexpr u32 kListId = 210;

  void Create(cCustomForm& form) override;
  void Layout(const Box& box) override;
  void Show(bool shown) override;
  void ShowStorage(const Storage* storage) override;
  std::u16string Text() const override;

  // The chosen row; null without one.
  const TreeRow* Chosen() const;
  // A row was double-clicked, or Enter pressed on it.
  std::function<void()> onActivate;
  // Another row was chosen.
  std::function<void()> onChange;

 private:
  u32 RowCount() const override { return static_cast<u32>(m_rows.size()); }
  std::u16string CellText(u32 row, u32 column) const override;
  int RowIcon(u32 row) const override { return m_rows[row].level == 0 ? 0 : 1; }

  void Place();

  std::vector<TreeRow> m_rows;
  bool m_shown = false;
  Box m_box;
  cIconList m_icons{{kIconStorage, kIconPartition}};
  cListViewChild m_list;
  // In place of the list, while that is empty, and below the storage's own row.
  cLabelChild m_note{cLabelChild::Lines::Wrapped};
};

class cSectorPage final : public cPage {
 public:
  static constexpr u32 kNumberId = 220, kTextId = 221;
  static constexpr UINT kNews = WM_APP + 22;  // to the form, which calls OnNews

  // Buttons of these ids, which the form's OnCommand gets, go to the sector typed and to its
  // neighbours.
  struct Commands {
    u32 goTo, previous, next;
  };
  explicit cSectorPage(const Commands& commands) : m_commands(commands) {}

  void Create(cCustomForm& form) override;
  void Layout(const Box& box) override;
  void Show(bool shown) override;
  void ShowStorage(const Storage* storage) override;
  std::u16string Text() const override;

  // Shows that sector; past the storage's end its last one, and says so.
  void GoTo(u64 sector);
  // The sector typed; the one that is shown stays when it is no number.
  void GoToTyped();
  void GoToPrevious() { GoTo(m_sector > 0 ? m_sector - 1 : 0); }
  void GoToNext() { GoTo(m_sector + 1); }
  bool HasSectors() const { return m_storage && m_storage->mayBeRead && m_storage->sectors > 0; }
  bool HasPrevious() const { return HasSectors() && m_sector > 0; }
  bool HasNext() const { return HasSectors() && m_sector + 1 < m_storage->sectors; }
  // Another sector is looked at.
  std::function<void()> onMove;
  void FocusNumber() { m_number.Focus(); }
  // The sector that was asked for may be there.
  void OnNews();

 private:
  void Look();
  std::u16string Note();

  Commands m_commands;
  cCustomForm* m_form = nullptr;
  const Storage* m_storage = nullptr;
  u64 m_sector = 0;
  std::u16string m_remark;  // on it, behind its heading
  std::optional<SectorView> m_view;
  bool m_shown = false;
  cSectorReader m_reader{[this] { PostMessageW(m_form->Handle(), kNews, 0, 0); }};

  cLabelChild m_numberLabel;
  cEditChild m_number;
  cIconButtonChild m_goTo, m_previous, m_next;
  cLabelChild m_heading;
  cTextViewChild m_text;
  cLabelChild m_note{cLabelChild::Lines::Wrapped};  // in place of all else, without a sector
};

class cMapPage final : public cPage {
 public:
  static constexpr u32 kMapId = 230;
  static constexpr UINT kNews = WM_APP + 20;  // to the form, which calls OnNews

  void Create(cCustomForm& form) override;
  void Layout(const Box& box) override;
  void Show(bool shown) override;
  void ShowStorage(const Storage* storage) override;
  std::u16string Text() const override;

  // A new count may be there.
  void OnNews();
  bool HasMap() const { return m_storage && m_storage->map; }
  // The map as a PNG file's bytes; empty without a map.
  std::string Picture() const;
  // A square was chosen, by a click or Enter: its first sector.
  std::function<void(u64 sector)> onGoTo;

 private:
  void Watch();
  void Tell();
  void TellCell();

  const Storage* m_storage = nullptr;
  std::shared_ptr<const MapGrid> m_grid;
  std::optional<size_t> m_pointed;  // the square that the pointer or the keyboard is at
  bool m_shown = false;
  HWND m_formWindow = nullptr;

  cLabelChild m_note{cLabelChild::Lines::Wrapped};  // in place of all else, without a map
  cLabelChild m_counts{cLabelChild::Lines::Wrapped};
  cMapChild m_map;
  cLabelChild m_scale;
  cLegendChild m_legend;
  cMapWatch m_watch{[this] { PostMessageW(m_formWindow, kNews, 0, 0); }};
};

class cLogPage final : public cPage {
 public:
  static constexpr u32 kTextId = 240;
  static constexpr UINT kNews = WM_APP + 23;  // to the form, which calls OnNews

  ~cLogPage() { m_mail->Close(); }

  void Create(cCustomForm& form) override;
  void Layout(const Box& box) override;
  void Show(bool shown) override;
  void ShowStorage(const Storage* storage) override;
  std::u16string Text() const override { return m_said; }

  // A log may have been read.
  void OnNews();

 private:
  struct Letter {
    u32 turn;  // which question it answers
    Result<std::u16string, std::u16string> log;
  };

  void Look();
  void Say(bool isLog, std::u16string_view text);

  const Storage* m_storage = nullptr;
  bool m_shown = false;
  bool m_isLog = false;
  u32 m_turn = 0;
  std::u16string m_said;
  std::shared_ptr<cMailbox<Letter>> m_mail = std::make_shared<cMailbox<Letter>>();

  cTextViewChild m_text;
  cLabelChild m_note{cLabelChild::Lines::Wrapped};  // in place of the text, without a log
};

}  // namespace larkspur::host
