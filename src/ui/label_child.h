// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A text that the user reads. Before another control it is that control's name for screen readers.

#include <string_view>

#include "ui/child.h"

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

}  // namespace larkspur
