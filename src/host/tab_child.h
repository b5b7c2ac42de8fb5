// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A row of tabs. What they lead to lies below and is the form's affair.

#include <string_view>
#include <vector>

#include "ui/child.h"

namespace larkspur::host {

class cTabChild final : public cValueChild {
 public:
  static constexpr i32 kHeight = 24;  // units

  cTabChild() : cValueChild(WC_TABCONTROLW, WS_TABSTOP | WS_CLIPSIBLINGS) {}

  bool Create(cCustomForm& form, u32 id, std::u16string_view name,
              const std::vector<std::u16string_view>& titles);

  u32 Value() const { return static_cast<u32>(Send(TCM_GETCURSEL)); }
  // Chooses a tab; `onChange` is not called.
  void SetValue(u32 tab) { Send(TCM_SETCURSEL, tab); }

 private:
  MessageAnswer OnNotify(NMHDR& header) override;
};

}  // namespace larkspur::host
