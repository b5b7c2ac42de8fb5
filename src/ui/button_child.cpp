// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/button_child.h"

#include <vector>

#include <uxtheme.h>
#include <vsstyle.h>

#include "ui/custom_form.h"
#include "ui/icon_list.h"

namespace larkspur {
namespace {

constexpr i32 kIconGap = 5;  // units beside an icon

// The states of the system's button, in the order of their images.
constexpr size_t kStates = PBS_DEFAULTED + 1;  // the last one: under a pen

OwnedImageList StateImages(u32 iconNumber, i32 extent) {
  const auto picture = RenderIcon(iconNumber, static_cast<u32>(extent));
  if (!picture) return nullptr;
  std::vector<IconPixels> pictures(kStates, *picture);
  pictures[PBS_DISABLED - PBS_NORMAL] = Faded(*picture);
  return MakeImages(pictures);
}

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
  OwnedImageList images = StateImages(m_iconNumber, Theme().Pixels(m_iconUnits));
  const LONG gap = m_hasText ? Theme().Pixels(kIconGap) : 0;
  const UINT align = m_hasText ? BUTTON_IMAGELIST_ALIGN_LEFT : BUTTON_IMAGELIST_ALIGN_CENTER;
  BUTTON_IMAGELIST beside{images.get(), {gap, 0, gap, 0}, align};
  Send(BCM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(&beside));
  m_images = std::move(images);
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

void cIconButtonChild::SetHint(std::u16string_view hint) {
  SetText(hint);
  if (IsOpen()) Form().Hints().Set(Form().Handle(), Handle(), std::u16string(hint));
}

}  // namespace larkspur
