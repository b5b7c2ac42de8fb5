// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The list of places in the file chooser.

#include <string>
#include <vector>

#include "dialogs/model/places.h"
#include "ui/icon_list.h"
#include "ui/list_view_child.h"

namespace larkspur {

class cFileChooseListPlaces final : public cListViewChild, private cListModel {
 public:
  // Column, icons and name, once, after Create.
  void SetUp();
  void Add(const FilePlace& place);

  // REQUIRES: row is one of the list's.
  const FilePlace& At(u32 row) const { return m_places[row]; }

 private:
  u32 RowCount() const override { return static_cast<u32>(m_places.size()); }
  std::u16string CellText(u32 row, u32 /*column*/) const override { return m_places[row].text; }
  int RowIcon(u32 row) const override;

  std::vector<FilePlace> m_places;
  cIconList m_icons{{kIconHome, kIconDrive, kIconDisc, kIconNetwork}};
};

}  // namespace larkspur
