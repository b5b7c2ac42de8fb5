// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/file_choose_list_places.h"

#include "dialogs/file_choose_texts.h"

namespace larkspur {
namespace {

u32 IconOf(PlaceKind kind) {
  switch (kind) {
    case PlaceKind::kHome:
      return kIconHome;
    case PlaceKind::kDisc:
      return kIconDisc;
    case PlaceKind::kNetwork:
      return kIconNetwork;
    default:
      return kIconDrive;
  }
}

}  // namespace

void cFileChooseListPlaces::SetUp() {
  SetText(TextOf(FileChooseText::kPlaces));
  SetColumns({{TextOf(FileChooseText::kPlaces), false, true}});
  SetIcons(&m_icons);
  SetModel(this);
}

void cFileChooseListPlaces::Add(const FilePlace& place) {
  const u32 selected = Value();
  m_places.push_back(place);
  Reload();
  SetValue(selected);
}

int cFileChooseListPlaces::RowIcon(u32 row) const {
  return static_cast<int>(m_icons.IndexOf(IconOf(m_places[row].kind)));
}

}  // namespace larkspur
