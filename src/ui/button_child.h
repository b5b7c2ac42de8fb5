// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Push buttons: with a text and, if wanted, an icon beside it; or an icon alone, whose hint is its
// name. Pressing one calls `onClick` if that is set, else the form's OnCommand with its id.

#include <functional>
#include <string_view>

#include "ui/child.h"
#include "ui/model/icon_shapes.h"

namespace larkspur {

class cButtonChild : public cChild {
 public:
  cButtonChild() : cButtonChild(0) {}

  bool Create(cCustomForm& form, const AnchoredBox& place, u32 id, std::u16string_view text,
              u32 iconNumber = 0);
  void SetIcon(u32 iconNumber, i32 units = kIconSize);

  std::function<void()> onClick;

 protected:
  explicit cButtonChild(DWORD style)
      : cChild(WC_BUTTONW, WS_TABSTOP | BS_PUSHBUTTON | style), m_hasText(!(style & BS_ICON)) {}

 private:
  void OnScale() override;
  bool OnCommand(u32 notification) override;
  bool m_hasText;
  u32 m_iconNumber = 0;
  i32 m_iconUnits = kIconSize;
  OwnedImageList m_images;  // one for each state of the button
};

class cIconButtonChild : public cButtonChild {
 public:
  static constexpr i32 kSmallIcon = 14;  // units

  cIconButtonChild() : cButtonChild(BS_ICON) {}

  bool Create(cCustomForm& form, const AnchoredBox& place, u32 id, std::u16string_view hint,
              u32 iconNumber, i32 iconUnits = kSmallIcon);
  void SetHint(std::u16string_view hint);
};

}  // namespace larkspur
