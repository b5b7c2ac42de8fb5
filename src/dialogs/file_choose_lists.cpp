// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/file_choose_lists.h"

#include "dialogs/file_choose_texts.h"

namespace larkspur {

void cFileChooseListFolder::SetUp() {
  m_words = {TextOf(FileChooseText::kFileFolder), TextOf(FileChooseText::kFile)};
  SetText(m_words.folder);
  SetColumns({{TextOf(FileChooseText::kName), false, true, &m_sorts[0]},
              {TextOf(FileChooseText::kDate), false, false, &m_sorts[1]},
              {TextOf(FileChooseText::kType), false, false, &m_sorts[2]},
              {TextOf(FileChooseText::kSize), true, false, &m_sorts[3]}});
  SetIcons(&m_icons);
  SetModel(this);
  SortBy(0, false);
}

void cFileChooseListFolder::SetEntries(std::vector<platform::FolderEntry> entries) {
  m_entries = std::move(entries);
  ShowFitting();
}

void cFileChooseListFolder::SetPatterns(const std::u16string& patterns) {
  m_patterns = patterns;
  ShowFitting();
}

void cFileChooseListFolder::ShowFitting() {
  m_shown.clear();
  for (size_t i = 0; i < m_entries.size(); ++i) {
    if (IsShown(m_entries[i], m_patterns)) m_shown.push_back(static_cast<u32>(i));
  }
  Reload();
}

void cFileChooseListFolder::SelectName(const std::u16string& name) {
  for (u32 row = 0; row < RowCount(); ++row) {
    if (Entry(row).name == name) return SetValue(row);
  }
}

std::u16string cFileChooseListFolder::CellText(u32 row, u32 column) const {
  return ColumnText(Entry(row), static_cast<FolderColumn>(column), m_words);
}

int cFileChooseListFolder::RowIcon(u32 row) const {
  return static_cast<int>(m_icons.IndexOf(Entry(row).isFolder ? kIconFolder : kIconFile));
}

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
