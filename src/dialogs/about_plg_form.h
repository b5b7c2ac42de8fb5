// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the module says of itself, under the key "raid::about".

#include <windows.h>

#include "catalog/language_pack.h"
#include "ui/button_bar.h"
#include "ui/custom_form.h"
#include "ui/label_child.h"
#include "ui/property_area_child.h"

namespace larkspur {

class cAboutPlgForm final : public cCustomForm {
 public:
  // Shows the form over `parent`; nothing when that is null or the catalog lacks the texts.
  static void Present(HWND parent);

 private:
  explicit cAboutPlgForm(const MessageTexts& texts) : m_texts(texts) {}

  void OnCreate() override;
  void OnLayout(Size client) override;
  void OnCommand(u32 id) override;
  std::u16string_view Item(size_t index) const;

  const MessageTexts& m_texts;
  cPropertyAreaChild m_area;
  cLabelChild m_notice;
  cButtonBar m_buttons;
};

}  // namespace larkspur
