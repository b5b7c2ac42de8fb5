// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The lists of the file chooser.

#include <array>
#include <string>
#include <vector>

#include "dialogs/model/folder_rows.h"
#include "dialogs/model/places.h"
#include "ui/icon_list.h"
#include "ui/list_view_child.h"

namespace larkspur {

// A folder's entries.
class cFileChooseListFolder final : public cListViewChild, private cListModel {
 public:
  // Columns, icons and name, once, after Create.
  void SetUp();

  // Shows those of the entries that fit the patterns.
  void SetEntries(std::vector<platform::FolderEntry> entries);
  void SetPatterns(const std::u16string& patterns);
  // Selects the entry of that name.
  void SelectName(const std::u16string& name);

  // REQUIRES: row is one of the list's.
  const platform::FolderEntry& Entry(u32 row) const { return m_entries[m_shown[row]]; }

 private:
  class cColumnSort final : public cListViewSortProvider {
   public:
    cColumnSort(const cFileChooseListFolder& list, FolderColumn column)
        : m_list(list), m_column(column) {}
    int Compare(u32 a, u32 b) const override {
      return CompareEntries(m_list.Entry(a), m_list.Entry(b), m_column);
    }

   private:
    const cFileChooseListFolder& m_list;
    FolderColumn m_column;
  };

  u32 RowCount() const override { return static_cast<u32>(m_shown.size()); }
  std::u16string CellText(u32 row, u32 column) const override;
  int RowIcon(u32 row) const override;
  void ShowFitting();

  TypeWords m_words;
  std::u16string m_patterns = u"*";
  std::vector<platform::FolderEntry> m_entries;
  std::vector<u32> m_shown;  // indexes into m_entries
  std::array<cColumnSort, 4> m_sorts{cColumnSort{*this, FolderColumn::kName},
                                     {*this, FolderColumn::kDate},
                                     {*this, FolderColumn::kType},
                                     {*this, FolderColumn::kSize}};
  cIconList m_icons{{kIconFolder, kIconFile}};
};

// Places to begin at.
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
