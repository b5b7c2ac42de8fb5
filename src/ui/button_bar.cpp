// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/button_bar.h"

#include "ui/custom_form.h"

namespace larkspur {
namespace {

constexpr ButtonRowMetrics kMetrics;

}  // namespace

void cButtonBar::Create(cCustomForm& form, i32 y, const std::vector<BarButton>& buttons,
                        i32 height) {
  m_form = &form;
  m_y = y;
  m_height = height;
  m_buttons.clear();
  for (const BarButton& button : buttons) {
    auto& child = m_buttons.emplace_back(std::make_unique<cButtonChild>());
    child->Create(form, kPlacedByForm, button.id, button.text, button.iconNumber);
  }
  if (!buttons.empty()) SetCurrent(buttons.front().id, false);
}

i32 cButtonBar::ButtonPixels() const {
  std::vector<i32> widths;
  for (const auto& button : m_buttons) {
    widths.push_back(TextSize(m_form->Theme().Font(), button->Text()).width);
  }
  return ButtonWidth(widths, kMetrics, m_form->Theme().Dpi());
}

i32 cButtonBar::Width() const {
  const u32 dpi = m_form->Theme().Dpi();
  return ButtonRowWidth(m_buttons.size(), ButtonPixels(), kMetrics, dpi) +
         2 * Scaled(kMetrics.marginRight, dpi);
}

void cButtonBar::Layout(Size client) {
  const auto places = ButtonRow(m_buttons.size(), ButtonPixels(), m_y, m_height, client, kMetrics,
                                m_form->Theme().Dpi());
  for (size_t i = 0; i < places.size(); ++i) m_buttons[i]->MoveTo(places[i]);
}

void cButtonBar::SetCurrent(u32 id, bool focus) {
  m_form->SetDefaultCommand(id);
  for (const auto& button : m_buttons) {
    const bool current = button->Id() == id;
    button->Send(BM_SETSTYLE, current ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON, TRUE);
    if (current && focus) button->Focus();
  }
}

cButtonChild* cButtonBar::Find(u32 id) const {
  for (const auto& button : m_buttons) {
    if (button->Id() == id) return button.get();
  }
  return nullptr;
}

}  // namespace larkspur
