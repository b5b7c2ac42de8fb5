// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/icon_child.h"

#include "ui/icon_images.h"

namespace larkspur {

bool cIconChild::Create(cCustomForm& form, const AnchoredBox& place, u32 iconNumber, i32 units) {
  m_iconNumber = iconNumber;
  m_units = units;
  return cChild::Create(form, place);
}

void cIconChild::OnScale() {
  OwnedIcon icon = MakeIcon(m_iconNumber, Theme().Pixels(m_units));
  Send(STM_SETICON, reinterpret_cast<WPARAM>(icon.get()));
  m_icon = std::move(icon);
}

}  // namespace larkspur
