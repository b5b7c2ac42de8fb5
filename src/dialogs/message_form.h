// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The message box of all dialogs: errors, warnings, and questions to be answered with yes or no.
// The first line of the text is set in bold beside the kind's icon. Lines that the screen is too
// narrow for are broken.

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"
#include "dialogs/model/message_layout.h"
#include "ui/button_bar.h"
#include "ui/custom_form.h"
#include "ui/label_child.h"

namespace larkspur {

enum MessageKind : u32 {
  kMessageInformation = 1,
  kMessageWarning = 2,
  kMessageError = 3,
  kMessageConfirm = 4,  // "Yes" and "No"; the others have "Ok" alone
};

enum MessageOption : u32 {
  kMessageUsual = 0,
  kMessageDefaultNo = 1,  // Enter answers "No"
};

class cMessageForm final : public cCustomForm {
 public:
  cMessageForm(std::u16string_view text, u32 kind, u32 option);

  // True when the form was closed with "Ok" or "Yes". Without a caption, item `captionItem` of
  // "ciom::messages" is the title.
  static bool Present(HWND parent, std::u16string_view text,
                      std::optional<std::u16string_view> caption, u32 captionItem, u32 kind,
                      u32 option);

 private:
  // One line of the text and the element that shows it.
  struct cStrTokenItem {
    std::u16string text;
    cLabelChild label;
  };

  void OnCreate() override;
  void OnLayout(Size client) override;
  void OnScale() override;
  void OnCommand(u32 id) override;

  void MakeLines();
  MessageMeasures Measure();
  void TakeNeededSize();

  std::u16string m_text;
  u32 m_kind;
  u32 m_option;
  std::vector<std::unique_ptr<cStrTokenItem>> m_lines;
  cIconChild m_icon;
  cButtonBar m_buttons;
  MessageMeasures m_measures;
};

// An error over `parent`, titled "Error".
void ShowError(HWND parent, std::u16string_view text);

// A question over `parent`, titled "Confirm"; true for yes.
bool AskToConfirm(HWND parent, std::u16string_view text, u32 option = kMessageUsual);

}  // namespace larkspur
