// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Several lines of text to read, select and copy, in letters of one width.

#include <functional>
#include <string_view>

#include "ui/child.h"

namespace larkspur::host {

class cTextViewChild final : public cChild {
 public:
  cTextViewChild();

  void SetValue(std::u16string_view text) { SetText(text); }

  // Takes the largest letters of which so many columns and lines are seen at once, within what can
  // be read.
  void FitText(i32 columns, i32 lines);

  // A right click or the menu key, at a place of the screen.
  std::function<void(POINT where)> onContextMenu;

 private:
  void OnCreate() override { SetFont(kFontFixed); }
  MessageAnswer OnMessage(const WindowMessage& message) override;
};

}  // namespace larkspur::host
