// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A choice of one row of a list that drops down.

#include <string_view>

#include "ui/value_child.h"

namespace larkspur {

class cDropDownListChild : public cValueChild {
 public:
  static constexpr int kNoRow = -1;

  cDropDownListChild();

  void Clear() { Send(CB_RESETCONTENT); }
  // Appends a row; its index, or kNoRow without memory.
  int Add(std::u16string_view text);
  int Count() const { return static_cast<int>(Send(CB_GETCOUNT)); }

  // The chosen row, or kNoRow.
  int Value() const { return static_cast<int>(Send(CB_GETCURSEL)); }
  // Chooses a row; `onChange` is not called.
  void SetValue(int row) { Send(CB_SETCURSEL, static_cast<WPARAM>(row)); }
  std::u16string RowText(int row) const;

 private:
  void OnScale() override;
  bool OnCommand(u32 notification) override;
};

}  // namespace larkspur
