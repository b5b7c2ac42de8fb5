// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/new_folder_name_req_form.h"

#include <algorithm>

namespace larkspur {
namespace {

constexpr size_t kHintItem = 0, kAcceptItem = 1, kCancelItem = 2, kTitleItem = 3;
constexpr Size kFormSize{250, 100};
constexpr AnchoredBox kEditPlace{10, 18, -20, 22};
constexpr i32 kAroundHint = 34;  // the form's and the edit's margins, units
constexpr i32 kButtonsY = -40;

}  // namespace

std::optional<std::u16string> cNewFolderNameReqForm::Ask(HWND parent, const MessageTexts& texts) {
  cNewFolderNameReqForm form(texts);
  FormLook look;
  look.title = form.Item(kTitleItem);
  look.size = kFormSize;
  if (form.ShowModal(parent, look) == 0) return std::nullopt;
  return form.m_value;
}

std::u16string cNewFolderNameReqForm::Item(size_t index) const {
  return index < m_texts.size() ? std::u16string(m_texts[index].View()) : std::u16string();
}

void cNewFolderNameReqForm::OnCreate() {
  // Nothing to see, but the edit's name for screen readers.
  m_name.Create(*this, kPlacedByForm, Item(kTitleItem));
  m_edit.Create(*this, kEditPlace, kTextId);
  m_edit.SetHint(Item(kHintItem));
  m_buttons.Create(
      *this, kButtonsY,
      {{kAccept, Item(kAcceptItem), kIconAccept}, {kCancel, Item(kCancelItem), kIconCancel}});
  TakeNeededSize();
}

void cNewFolderNameReqForm::TakeNeededSize() {
  const i32 hint = TextSize(Theme().Font(), Item(kHintItem)).width + Theme().Pixels(kAroundHint);
  GrowTo({std::max(hint, m_buttons.Width()), 0});
}

void cNewFolderNameReqForm::OnCommand(u32 id) {
  if (id != kAccept) return cCustomForm::OnCommand(id);
  m_value = m_edit.Value();
  Close(1);
}

}  // namespace larkspur
