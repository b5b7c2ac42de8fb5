// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/pages.h"
#include "host/texts.h"
#include "imaging/rescue_words.h"

namespace larkspur::host {

void cLogPage::Create(cCustomForm& form) {
  m_text.Create(form, kPlacedByForm, kTextId);
  m_text.onContextMenu = [this](POINT where) {
    if (onContextMenu) onContextMenu(where);
  };
  m_note.Create(form, kPlacedByForm, texts::kNoStorage);
  m_mail->Open(form.Handle(), kNews);
}

void cLogPage::Layout(const Box& box) {
  m_text.MoveTo(box);
  m_text.FitText(kHistoryColumns, 1);
  m_note.MoveTo(box);
}

void cLogPage::Show(bool shown) {
  m_shown = shown;
  Look();
}

void cLogPage::ShowStorage(const Storage* storage) {
  m_storage = storage;
  Look();
}

// A log is read when it is seen, each time: another program may have written more. A large one
// takes seconds.
void cLogPage::Look() {
  ++m_turn;
  if (!m_storage) return Say(false, texts::kNoStorage);
  if (!m_storage->map) return Say(false, texts::kNoLog);
  Say(false, texts::kReadingLog);
  if (!m_shown) return;
  const LogPlace place{m_storage->path, m_storage->sectors};
  const bool begun = RunDetached([mail = m_mail, turn = m_turn, place] {
    mail->Post({turn, ReadLogText(place)});
  });
  if (!begun) Say(false, texts::kNoMemory);
}

void cLogPage::OnNews() {
  for (const Letter& letter : m_mail->Take()) {
    if (letter.turn != m_turn) continue;
    Say(letter.log.has_value(), letter.log ? *letter.log : letter.log.error());
  }
}

void cLogPage::Say(bool isLog, std::u16string_view text) {
  m_said = text;
  (isLog ? static_cast<cChild&>(m_text) : m_note).SetText(text);
  m_text.Show(m_shown && isLog);
  m_note.Show(m_shown && !isLog);
}

}  // namespace larkspur::host
