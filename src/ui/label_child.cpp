// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/label_child.h"

#include "ui/icon_list.h"

namespace larkspur {
namespace {

constexpr DWORD kOneLine = SS_LEFT | SS_ENDELLIPSIS | SS_NOPREFIX | SS_CENTERIMAGE;
constexpr DWORD kWrapped = SS_LEFT | SS_NOPREFIX | SS_EDITCONTROL;

}  // namespace

cLabelChild::cLabelChild(Lines lines)
    : cChild(WC_STATICW, lines == Lines::One ? kOneLine : kWrapped) {}

bool cLabelChild::Create(cCustomForm& form, const AnchoredBox& place, std::u16string_view text,
                         COLORREF colour) {
  m_colour = colour;
  if (!cChild::Create(form, place)) return false;
  SetText(text);
  return true;
}

void cLabelChild::SetColour(COLORREF colour) {
  m_colour = colour;
  Repaint();
}

HBRUSH cLabelChild::OnColour(HDC dc) {
  SetTextColor(dc, TextColour(m_colour));
  SetBkColor(dc, GetSysColor(COLOR_BTNFACE));
  return GetSysColorBrush(COLOR_BTNFACE);
}

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
