// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A choice of one row of a list that drops down. Of a row that it has too little room for, the
// middle is left out.

#include <string_view>

#include "ui/child.h"

namespace larkspur {

class cDropDownListChild : public cValueChild {
 public:
  static constexpr int kNoRow = -1;

  cDropDownListChild();

  void Clear();
  // Appends a row; its index, or kNoRow without memory.
  int Add(std::u16string_view text);
  int Count() const { return static_cast<int>(Send(CB_GETCOUNT)); }

  // The chosen row, or kNoRow.
  int Value() const { return static_cast<int>(Send(CB_GETCURSEL)); }
  // Chooses a row; `onChange` is not called.
  void SetValue(int row) { Send(CB_SETCURSEL, static_cast<WPARAM>(row)); }
  std::u16string RowText(int row) const;
  // The control's width, in pixels, at which no row is shortened.
  i32 WantedWidth() const;

 private:
  void OnScale() override;
  bool OnCommand(u32 notification) override;
  MessageAnswer OnDrawItem(const DRAWITEMSTRUCT& item) override;
  void MakeRoomFor(std::u16string_view text);

  i32 m_widest = 0;  // of the rows' texts, pixels
};

}  // namespace larkspur
