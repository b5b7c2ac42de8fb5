// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "base/size_text.h"
#include "host/model/words.h"
#include "host/pages.h"
#include "host/texts.h"
#include "partitions/type_names.h"

namespace larkspur::host {
namespace {

enum Columns : u32 { kNameColumn, kStartColumn, kLengthColumn, kSizeColumn, kTypeColumn };
constexpr size_t kIndent = 4;            // blanks a level
constexpr i32 kBareList = 66, kGap = 6;  // units; the list of one row

// A type by its name; by its number where it has none. The storage itself is of no type.
std::u16string TypeText(u16 type) {
  if (type == kTypeWholeDevice) return {};
  const std::u16string_view name = GetTypeName(type);
  return name == GetTypeName(kTypeUnknown) ? Words("{}", type) : std::u16string(name);
}

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
  m_list.KeepChoice();
  m_list.onActivate = [this](u32) {
    if (onActivate) onActivate();
  };
  m_list.onContextMenu = [this](u32, POINT where) {
    if (onContextMenu) onContextMenu(where);
  };
  m_list.onChange = [this] {
    if (onChange) onChange();
  };
  m_note.Create(form, kPlacedByForm, texts::kNoStorage);
}

void cPartitionPage::Layout(const Box& box) {
  m_box = box;
  Place();
}

void cPartitionPage::Place() {
  const bool hasNote = !IsAnythingKnown(m_rows);
  const i32 list = m_rows.empty() ? 0
                   : hasNote      ? std::min(m_box.height, Scaled(kBareList, m_list.Dpi()))
                                  : m_box.height;
  m_list.MoveTo({m_box.x, m_box.y, m_box.width, list});
  const i32 gap = m_rows.empty() ? 0 : Scaled(kGap, m_list.Dpi());
  m_note.MoveTo(
      {m_box.x, m_box.y + list + gap, m_box.width, std::max(0, m_box.height - list - gap)});
  m_list.Show(m_shown && !m_rows.empty());
  m_note.Show(m_shown && hasNote);
}

void cPartitionPage::Show(bool shown) {
  m_shown = shown;
  Place();
}

void cPartitionPage::ShowStorage(const Storage* storage) {
  m_rows = storage ? storage->tree : std::vector<TreeRow>();
  m_list.Reload();
  m_list.SetValue(0);
  m_note.SetText(!storage             ? texts::kNoStorage
                 : storage->mayBeRead ? texts::kNoPartitions
                                      : texts::kNotRead);
  Show(m_shown);
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
      return TypeText(item.type);
    default:
      return item.facts;
  }
}

}  // namespace larkspur::host
