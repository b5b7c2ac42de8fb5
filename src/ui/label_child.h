// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A text that the user reads. Before another control it is that control's name for screen readers.

#include <string_view>

#include "ui/child.h"
#include "ui/model/icon_shapes.h"

namespace larkspur {

class cLabelChild : public cChild {
 public:
  enum class Lines { One, Wrapped };

  // One line that does not fit ends in an ellipsis.
  explicit cLabelChild(Lines lines = Lines::One);

  bool Create(cCustomForm& form, const AnchoredBox& place, std::u16string_view text,
              COLORREF colour = kLabelColour);
  void SetColour(COLORREF colour);

 private:
  HBRUSH OnColour(HDC dc) override;

  COLORREF m_colour = kLabelColour;
};

// An icon of the theme, to be looked at.
class cIconChild : public cChild {
 public:
  cIconChild() : cChild(WC_STATICW, SS_ICON | SS_REALSIZECONTROL) {}

  bool Create(cCustomForm& form, const AnchoredBox& place, u32 iconNumber, i32 units);

 private:
  void OnScale() override;

  u32 m_iconNumber = 0;
  i32 m_units = 0;
  OwnedIcon m_icon;
};

}  // namespace larkspur
