// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A row of equally wide buttons at the form's right edge, as wide as the longest text needs. The
// buttons are children of the form like any other; the bar creates and places them.

#include <memory>
#include <string>
#include <vector>

#include "ui/button_child.h"
#include "ui/model/layout.h"

namespace larkspur {

struct BarButton {
  u32 id = 0;
  std::u16string text;
  u32 iconNumber = 0;
};

class cButtonBar {
 public:
  static constexpr i32 kHeight = 24;  // units

  // `y` is anchored, -40 for the usual place. The first button is the current one.
  void Create(cCustomForm& form, i32 y, const std::vector<BarButton>& buttons,
              i32 height = kHeight);

  // Places the buttons; the form's OnLayout calls it with its client size.
  void Layout(Size client);
  // The row's width in pixels with its right margin; what the form must at least have.
  i32 Width() const;

  // Makes this button the one that Enter presses, and with `focus` moves the keyboard to it.
  void SetCurrent(u32 id, bool focus);
  cButtonChild* Find(u32 id) const;

 private:
  i32 ButtonPixels() const;

  cCustomForm* m_form = nullptr;
  i32 m_y = 0;
  i32 m_height = kHeight;
  std::vector<std::unique_ptr<cButtonChild>> m_buttons;
};

}  // namespace larkspur
