// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <utility>

#include "host/model/hex_text.h"
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
}

void cSectorPage::Layout(const Box& box) {
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
  for (cChild* child : std::initializer_list<cChild*>{&m_numberLabel, &m_number, &m_goTo,
                                                      &m_previous, &m_next, &m_heading, &m_text}) {
    child->Show(shown);
  }
  Look();
}

void cSectorPage::ShowStorage(const Storage* storage) {
  m_reader.Leave();
  m_storage = storage;
  m_sector = 0;
  Look();
}

void cSectorPage::GoTo(u64 sector) {
  if (!m_storage || m_storage->sectors == 0) return;
  m_sector = std::min(sector, m_storage->sectors - 1);
  Look();
}

bool cSectorPage::GoToTyped() {
  const std::optional<u64> sector = SectorFromText(m_number.Value());
  if (sector) GoTo(*sector);
  return sector.has_value();
}

// A sector is read when it is seen, and not before.
void cSectorPage::Look() {
  m_view.reset();
  if (!m_shown) return;
  m_number.Enable(HasSectors());
  if (onMove) onMove();
  if (!m_storage) return Tell({}, texts::kNoStorage);
  if (!m_storage->mayBeRead) return Tell({}, texts::kNotRead);
  m_number.SetValue(Words("{}", m_sector));
  if (!m_reader.IsWatching() && !m_reader.Watch(*m_storage)) return Tell(texts::kNoClone, {});
  m_heading.SetText(Words("Sector {} is being read...", m_sector));
  m_reader.Ask(m_sector);
}

void cSectorPage::OnNews() {
  std::optional<SectorView> read = m_reader.Take();
  if (!read || !m_storage) return;
  m_view = std::move(read);
  Tell(SectorHeading(*m_view, m_storage->sectors), SectorBody(*m_view));
}

void cSectorPage::Tell(std::u16string_view heading, std::u16string_view body) {
  m_heading.SetText(heading);
  m_text.SetValue(body);
}

std::u16string cSectorPage::Text() const {
  if (!m_storage || !m_view) return {};
  return SectorHeading(*m_view, m_storage->sectors) + u"\r\n" + SectorBody(*m_view);
}

}  // namespace larkspur::host
