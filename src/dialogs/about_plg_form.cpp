// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/about_plg_form.h"

#include "catalog/message_catalog.h"

namespace larkspur {
namespace {

constexpr const char* kTextKey = "raid::about";
constexpr size_t kTitleItem = 0, kCloseItem = 1, kHeadingItem = 2, kBodyItem = 3, kNoticeItem = 4;
constexpr Size kFormSize{400, 290};
constexpr AnchoredBox kAreaPlace{0, 0, -4, -44};  // down to the button
constexpr Box kNotice{6, -20, 0, 16};             // ends where the button starts
constexpr i32 kButtonsY = -40;

}  // namespace

void cAboutPlgForm::Present(HWND parent) {
  const MessageTexts* texts = Messages().Find(kTextKey);
  if (!parent || !texts) return;
  cAboutPlgForm form(*texts);
  FormLook look;
  look.title = form.Item(kTitleItem);
  look.size = kFormSize;
  form.ShowModal(parent, look);
}

std::u16string_view cAboutPlgForm::Item(size_t index) const {
  return index < m_texts.size() ? m_texts[index].View() : std::u16string_view();
}

void cAboutPlgForm::OnCreate() {
  m_area.Create(*this, kAreaPlace);
  m_area.Add(Item(kHeadingItem), Item(kBodyItem));
  m_notice.Create(*this, kPlacedByForm, Item(kNoticeItem), kNoticeColour);
  m_buttons.Create(*this, kButtonsY, {{kAccept, std::u16string(Item(kCloseItem)), kIconCancel}});
}

void cAboutPlgForm::OnLayout(Size client) {
  m_buttons.Layout(client);
  const u32 dpi = Theme().Dpi();
  m_notice.MoveTo({Scaled(kNotice.x, dpi), client.height + Scaled(kNotice.y, dpi),
                   client.width - m_buttons.Width() - Scaled(kNotice.x, dpi),
                   Scaled(kNotice.height, dpi)});
}

void cAboutPlgForm::OnCommand(u32 id) {
  if (id == kAccept) {
    Close(1);
  } else {
    cCustomForm::OnCommand(id);
  }
}

}  // namespace larkspur
