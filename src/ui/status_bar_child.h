// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The line at the bottom of a main window, in parts of which the last takes the rest.

#include <string_view>
#include <vector>

#include "ui/child.h"

namespace larkspur {

class cStatusBarChild : public cChild {
 public:
  cStatusBarChild() : cChild(STATUSCLASSNAMEW, SBARS_SIZEGRIP) {}

  // Widths in units of all parts but the last.
  bool Create(cCustomForm& form, std::vector<i32> widths);
  void SetPart(u32 part, std::u16string_view text);
  // Goes to the bottom edge; from the form's OnLayout. Answers with its height in pixels.
  i32 Layout();

 private:
  void OnScale() override;

  std::vector<i32> m_widths;
};

}  // namespace larkspur
