// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// An icon of the theme, to be looked at.

#include "ui/child.h"
#include "ui/model/icon_shapes.h"

namespace larkspur {

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
