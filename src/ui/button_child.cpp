// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/button_child.h"

#include "ui/custom_form.h"

namespace larkspur {
namespace {

constexpr i32 kIconGap = 5;  // units beside an icon

}  // namespace

bool cButtonChild::Create(cCustomForm& form, const AnchoredBox& place, u32 id,
                          std::u16string_view text, u32 iconNumber) {
  m_iconNumber = iconNumber;
  if (!cChild::Create(form, place, id)) return false;
  SetText(text);
  return true;
}

void cButtonChild::SetIcon(u32 iconNumber, i32 units) {
  m_iconNumber = iconNumber;
  m_iconUnits = units;
  if (IsOpen()) OnScale();
}

void cButtonChild::OnScale() {
  if (m_iconNumber == 0) return;
  if (OwnedIcon icon = MakeIcon(m_iconNumber, Theme().Pixels(m_iconUnits))) {
    ShowIcon(std::move(icon));
  }
}

// A list of one image is how the system's button takes an icon and a distance to its text.
void cButtonChild::ShowIcon(OwnedIcon icon) {
  const i32 extent = Theme().Pixels(m_iconUnits), gap = Theme().Pixels(kIconGap);
  OwnedImageList image(ImageList_Create(extent, extent, ILC_COLOR32 | ILC_MASK, 1, 0));
  ImageList_ReplaceIcon(image.get(), -1, icon.get());
  BUTTON_IMAGELIST beside{image.get(), {gap, 0, gap, 0}, BUTTON_IMAGELIST_ALIGN_LEFT};
  Send(BCM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(&beside));
  m_image = std::move(image);
}

bool cButtonChild::OnCommand(u32 notification) {
  if (notification != BN_CLICKED || !onClick) return false;
  onClick();
  return true;
}

bool cIconButtonChild::Create(cCustomForm& form, const AnchoredBox& place, u32 id,
                              std::u16string_view hint, u32 iconNumber, i32 iconUnits) {
  if (!cButtonChild::Create(form, place, id, hint)) return false;
  SetIcon(iconNumber, iconUnits);
  SetHint(hint);
  return true;
}

void cIconButtonChild::ShowIcon(OwnedIcon icon) {
  Send(BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(icon.get()));
  m_icon = std::move(icon);
}

void cIconButtonChild::SetHint(std::u16string_view hint) {
  SetText(hint);
  if (IsOpen()) Form().Hints().Set(Form().Handle(), Handle(), std::u16string(hint));
}

}  // namespace larkspur
