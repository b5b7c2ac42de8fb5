// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <utility>

#include "host/model/sector_view.h"
#include "host/model/words.h"
#include "host/pages.h"
#include "host/texts.h"

namespace larkspur::host {
namespace {

// Units.
constexpr i32 kRow = 26, kLine = 22, kLabelWidth = 50, kNumberWidth = 130, kButton = 24, kGap = 4;

}  // namespace

static_assert(kHexLines * kHexBytesInLine == kSectorBytes);

void cSectorPage::Create(cCustomForm& form) {
  m_form = &form;
  m_numberLabel.Create(form, kPlacedByForm, texts::kSector);
  m_number.Create(form, kPlacedByForm, kNumberId);
  m_number.SetHint(u"0, 0x3f, ...");
  m_goTo.Create(form, kPlacedByForm, m_commands.goTo, texts::kGoToSector, kIconAccept);
  m_previous.Create(form, kPlacedByForm, m_commands.previous, texts::kPreviousSector,
                    kIconPrevious);
  m_next.Create(form, kPlacedByForm, m_commands.next, texts::kNextSector, kIconNext);
  m_heading.Create(form, kPlacedByForm, u"");
  m_text.Create(form, kPlacedByForm, kTextId);
  m_text.onContextMenu = [this](POINT where) {
    if (onContextMenu) onContextMenu(where);
  };
  m_note.Create(form, kPlacedByForm, texts::kNoStorage);
}

void cSectorPage::Layout(const Box& box) {
  m_note.MoveTo(box);
  cTheme& theme = m_form->Theme();
  const i32 line = theme.Pixels(kLine), gap = theme.Pixels(kGap), button = theme.Pixels(kButton);
  i32 x = box.x;
  m_numberLabel.MoveTo({x, box.y + gap, theme.Pixels(kLabelWidth), line - gap});
  x += theme.Pixels(kLabelWidth) + gap;
  m_number.MoveTo({x, box.y, theme.Pixels(kNumberWidth), line});
  x += theme.Pixels(kNumberWidth) + gap;
  for (cIconButtonChild* child : {&m_goTo, &m_previous, &m_next}) {
    child->MoveTo({x, box.y, button, line});
    x += button + gap;
  }
  const i32 top = box.y + theme.Pixels(kRow);
  m_heading.MoveTo({box.x, top + gap, box.width, line - gap});
  m_text.MoveTo({box.x, top + line, box.width, std::max(0, box.y + box.height - top - line)});
  m_text.FitText(kHexColumns, kHexLines);
}

void cSectorPage::Show(bool shown) {
  m_shown = shown;
  Look();
}

void cSectorPage::ShowStorage(const Storage* storage) {
  m_reader.Leave();
  m_storage = storage;
  m_sector = 0;
  m_remark.clear();
  Look();
}

void cSectorPage::GoTo(u64 sector) {
  if (!HasSectors()) return;
  m_sector = std::min(sector, m_storage->sectors - 1);
  m_remark = m_sector < sector ? Words("; it is the last one: there is no sector {}", sector)
                               : std::u16string();
  Look();
}

void cSectorPage::GoToTyped() {
  const std::optional<u64> sector = SectorFromText(m_number.Value());
  if (sector) return GoTo(*sector);
  m_heading.SetText(
      Words("\"{}\" is not the number of a sector: type 63 or 0x3f. Below is sector {}",
            Utf8(m_number.Value()), m_sector));
}

// A sector is read when it is seen, and not before.
void cSectorPage::Look() {
  m_view.reset();
  const std::u16string note = Note();
  for (cChild* child : std::initializer_list<cChild*>{&m_numberLabel, &m_number, &m_goTo,
                                                      &m_previous, &m_next, &m_heading, &m_text}) {
    child->Show(m_shown && note.empty());
  }
  m_note.SetText(note);
  m_note.Show(m_shown && !note.empty());
  if (!m_shown) return;
  if (onMove) onMove();
  if (!note.empty()) return;
  m_number.SetValue(Words("{}", m_sector));
  m_heading.SetText(Words("Sector {} is being read...", m_sector));
  m_reader.Ask(m_sector);
}

// What is said in place of a sector; empty when one can be read.
std::u16string cSectorPage::Note() {
  if (!m_storage) return texts::kNoStorage;
  if (!m_storage->mayBeRead) return texts::kNotRead;
  if (!m_shown || m_reader.IsWatching() || m_reader.Watch(*m_storage)) return {};
  return NoCloneWords(*m_storage);
}

void cSectorPage::OnNews() {
  std::optional<SectorView> read = m_reader.Take();
  if (!read || !m_storage) return;
  m_view = std::move(read);
  m_heading.SetText(SectorHeading(*m_view, m_storage->sectors) + m_remark);
  m_text.SetValue(SectorBody(*m_view));
}

std::u16string cSectorPage::Text() const {
  if (!m_storage || !m_view) return {};
  return SectorHeading(*m_view, m_storage->sectors) + u"\r\n" + SectorBody(*m_view);
}

}  // namespace larkspur::host
