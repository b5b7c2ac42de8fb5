// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Asks for one line of text: the name of a new folder, the path of a device.

#include <windows.h>

#include <optional>
#include <string>

#include "catalog/language_pack.h"
#include "ui/button_bar.h"
#include "ui/custom_form.h"
#include "ui/edit_child.h"
#include "ui/label_child.h"

namespace larkspur {

class cNewFolderNameReqForm final : public cCustomForm {
 public:
  static constexpr u32 kTextId = 102;

  // `texts` are those of the form's key: the hint inside the edit, the accepting and the cancelling
  // button, the title. REQUIRES: outlives the form.
  explicit cNewFolderNameReqForm(const MessageTexts& texts) : m_texts(texts) {}

  // The text that was entered, as it stands; nothing when the user cancelled.
  static std::optional<std::u16string> Ask(HWND parent, const MessageTexts& texts);

 private:
  void OnCreate() override;
  void OnLayout(Size client) override { m_buttons.Layout(client); }
  void OnScale() override { TakeNeededSize(); }
  void OnCommand(u32 id) override;
  void TakeNeededSize();
  std::u16string Item(size_t index) const;

  const MessageTexts& m_texts;
  std::u16string m_value;
  cLabelChild m_name;
  cEditChild m_edit;
  cButtonBar m_buttons;
};

}  // namespace larkspur
