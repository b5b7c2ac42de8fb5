// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/pages.h"
#include "host/rules/words.h"
#include "host/texts.h"
#include "imaging/size_text.h"

namespace larkspur::host {
namespace {

enum Columns : u32 { kNameColumn, kStartColumn, kLengthColumn, kSizeColumn, kTypeColumn };
constexpr size_t kIndent = 4;  // blanks a level

}  // namespace

void cPartitionPage::Create(cCustomForm& form) {
  m_list.Create(form, kPlacedByForm, kListId);
  m_list.SetText(texts::kPartitions);
  m_list.SetColumns({{texts::kName},
                     {texts::kStart, true},
                     {texts::kLength, true},
                     {texts::kSize, true},
                     {texts::kType},
                     {texts::kFacts, false, true}});
  m_list.SetIcons(&m_icons);
  m_list.SetModel(this);
  m_list.onActivate = [this](u32) {
    if (onActivate) onActivate();
  };
  m_list.onContextMenu = [this](u32, POINT where) {
    if (onContextMenu) onContextMenu(where);
  };
}

void cPartitionPage::ShowStorage(const Storage* storage) {
  m_rows = storage ? storage->tree : std::vector<TreeRow>();
  m_list.Reload();
  m_list.SetValue(0);
}

std::u16string cPartitionPage::Text() const {
  return WideFromUtf8(TreeText(m_rows));
}

const TreeRow* cPartitionPage::Chosen() const {
  const u32 row = m_list.Value();
  return row < m_rows.size() ? &m_rows[row] : nullptr;
}

std::u16string cPartitionPage::CellText(u32 row, u32 column) const {
  const TreeRow& item = m_rows[row];
  switch (column) {
    case kNameColumn:
      return std::u16string(item.level * kIndent, u' ') + item.name;
    case kStartColumn:
      return Words("{}", item.start);
    case kLengthColumn:
      return Words("{}", item.length);
    case kSizeColumn:
      return Words("{}", SizeText(item.length << kSectorShift));
    case kTypeColumn:
      return Words("{}", item.type);
    default:
      return item.facts;
  }
}

}  // namespace larkspur::host
