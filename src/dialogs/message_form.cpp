// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/message_form.h"

#include <algorithm>

#include "ui/screen.h"
#include "ui/texts.h"

namespace larkspur {
namespace {

constexpr const char* kTextKey = "ciom::messages";
constexpr u32 kOkItem = 0, kYesItem = 1, kNoItem = 2, kErrorItem = 5, kConfirmItem = 6;
constexpr i32 kIconUnits = 32;
constexpr i32 kButtonsY = -40;
constexpr i32 kMostOfScreen = 80;  // percent of the screen's width that a line may take

struct KindLook {
  u32 kind;
  u32 icon;
  UINT sound;
};
constexpr KindLook kLooks[] = {
    {kMessageInformation, kIconInformation, MB_ICONINFORMATION},
    {kMessageWarning, kIconWarning, MB_ICONWARNING},
    {kMessageError, kIconError, MB_ICONERROR},
    {kMessageConfirm, kIconQuestion, MB_ICONQUESTION},
};

const KindLook& LookOf(u32 kind) {
  for (const KindLook& look : kLooks) {
    if (look.kind == kind) return look;
  }
  return kLooks[0];
}

std::vector<BarButton> ButtonsOf(u32 kind) {
  if (kind != kMessageConfirm) {
    return {{cCustomForm::kAccept, TextOf(kTextKey, kOkItem), kIconAccept}};
  }
  return {{cCustomForm::kAccept, TextOf(kTextKey, kYesItem), kIconAccept},
          {cCustomForm::kCancel, TextOf(kTextKey, kNoItem), kIconCancel}};
}

}  // namespace

cMessageForm::cMessageForm(std::u16string_view text, u32 kind, u32 option)
    : m_text(text), m_kind(kind), m_option(option) {}

bool cMessageForm::Present(HWND parent, std::u16string_view text,
                           std::optional<std::u16string_view> caption, u32 captionItem, u32 kind,
                           u32 option) {
  cMessageForm form(text, kind, option);
  FormLook look;
  look.title = caption ? std::u16string(*caption) : TextOf(kTextKey, captionItem);
  return form.ShowModal(parent, look) != 0;
}

void cMessageForm::OnCreate() {
  const KindLook& look = LookOf(m_kind);
  m_icon.Create(*this, kPlacedByForm, look.icon, kIconUnits);
  MakeLines();
  m_buttons.Create(*this, kButtonsY, ButtonsOf(m_kind));
  TakeNeededSize();
  if (m_kind == kMessageConfirm && (m_option & kMessageDefaultNo)) {
    m_buttons.SetCurrent(kCancel, true);
  }
  MessageBeep(look.sound);
}

void cMessageForm::MakeLines() {
  const i32 room =
      WorkAreaAround(Handle()).width * kMostOfScreen / 100 - MessageIconRoom(Theme().Dpi());
  for (const std::u16string& line : MessageLines(m_text)) {
    const auto widthOf = [this](std::u16string_view text) {
      return TextSize(Theme().Font(m_lines.empty() ? kFontBold : kFontRegular), text).width;
    };
    for (const std::u16string& piece : BrokenLine(line, room, widthOf)) {
      cStrTokenItem& item = *m_lines.emplace_back(std::make_unique<cStrTokenItem>());
      item.text = piece;
      item.label.Create(*this, kPlacedByForm, piece);
      item.label.SetFont(m_lines.size() == 1 ? kFontBold : kFontRegular);
    }
  }
}

MessageMeasures cMessageForm::Measure() {
  MessageMeasures measures;
  measures.dpi = Theme().Dpi();
  for (size_t i = 0; i < m_lines.size(); ++i) {
    Size size = TextSize(Theme().Font(i == 0 ? kFontBold : kFontRegular), m_lines[i]->text);
    if (i == 0) size.width += MessageIconRoom(measures.dpi);
    measures.greatestWidth = std::max(measures.greatestWidth, size.width);
    measures.lineHeight = std::max(measures.lineHeight, size.height);
  }
  return measures;
}

void cMessageForm::TakeNeededSize() {
  m_measures = Measure();
  const Size wanted = MessageFormSize(m_lines.size(), m_measures);
  // Short texts need less room than the buttons below them.
  GrowTo({std::max(wanted.width, m_buttons.Width()), wanted.height});
}

void cMessageForm::OnScale() {
  TakeNeededSize();
}

void cMessageForm::OnLayout(Size client) {
  const MessagePlaces places = PlaceMessage(m_lines.size(), client.width, m_measures);
  m_icon.MoveTo(places.icon);
  for (size_t i = 0; i < m_lines.size(); ++i) m_lines[i]->label.MoveTo(places.lines[i]);
  m_buttons.Layout(client);
}

void cMessageForm::OnCommand(u32 id) {
  if (id == kAccept) {
    Close(1);
  } else {
    cCustomForm::OnCommand(id);
  }
}

void ShowError(HWND parent, std::u16string_view text) {
  cMessageForm::Present(parent, text, std::nullopt, kErrorItem, kMessageError, kMessageUsual);
}

bool AskToConfirm(HWND parent, std::u16string_view text, u32 option) {
  return cMessageForm::Present(parent, text, std::nullopt, kConfirmItem, kMessageConfirm, option);
}

}  // namespace larkspur
