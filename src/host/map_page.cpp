// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "host/model/map_words.h"
#include "host/model/words.h"
#include "host/pages.h"
#include "host/texts.h"
#include "imaging/map_picture.h"

namespace larkspur::host {
namespace {

// Units; on less the counts and the legend take two lines.
constexpr i32 kLine = 20, kOneLineWidth = 480;

}  // namespace

void cMapPage::Create(cCustomForm& form) {
  m_formWindow = form.Handle();
  m_counts.Create(form, kPlacedByForm, u"");
  m_note.Create(form, kPlacedByForm, texts::kNoStorage);
  m_map.Create(form, kPlacedByForm, kMapId);
  m_map.SetText(texts::kMap);
  m_map.onContextMenu = [this](POINT where) {
    if (onContextMenu) onContextMenu(where);
  };
  m_map.onPoint = [this](std::optional<size_t> cell) {
    m_pointed = cell;
    TellCell();
  };
  m_map.onChoose = [this](size_t cell) {
    if (onGoTo) onGoTo(cell * m_grid->sectorsPerCell);
  };
  m_scale.Create(form, kPlacedByForm, u"");
  m_legend.Create(form, MapLegend());
}

void cMapPage::Layout(const Box& box) {
  const i32 line = Scaled(kLine, m_map.Dpi());
  m_note.MoveTo(box);
  const i32 lines = box.width < Scaled(kOneLineWidth, m_map.Dpi()) ? 2 * line : line;
  const i32 map = std::max(0, box.height - 2 * lines - line);
  m_counts.MoveTo({box.x, box.y, box.width, lines});
  m_map.MoveTo({box.x, box.y + lines, box.width, map});
  m_scale.MoveTo({box.x, box.y + lines + map, box.width, line});
  m_legend.MoveTo({box.x, box.y + lines + map + line, box.width, lines});
}

void cMapPage::Show(bool shown) {
  m_shown = shown;
  Watch();
}

void cMapPage::ShowStorage(const Storage* storage) {
  m_storage = storage;
  Watch();
}

// A cache is counted while its map is seen.
void cMapPage::Watch() {
  m_grid = nullptr;
  m_watch.Watch(m_shown && HasMap() ? m_storage->map.get() : nullptr);
  Tell();
}

void cMapPage::OnNews() {
  m_grid = m_watch.Take();
  Tell();
}

void cMapPage::Tell() {
  m_map.SetGrid(m_grid);
  m_counts.SetText(m_grid ? MapCounts(m_grid->totals, m_grid->sectors) : texts::kCounting);
  m_note.SetText(m_storage ? texts::kNoMap : texts::kNoStorage);
  for (cChild* child : std::initializer_list<cChild*>{&m_counts, &m_map, &m_scale, &m_legend}) {
    child->Show(m_shown && HasMap());
  }
  m_note.Show(m_shown && !HasMap());
  TellCell();
}

void cMapPage::TellCell() {
  const bool isAtCell = m_grid && m_pointed && *m_pointed < m_grid->cells.size();
  m_scale.SetText(isAtCell ? MapCell(*m_grid, *m_pointed)
                  : m_grid ? MapScale(*m_grid)
                           : std::u16string());
}

std::u16string cMapPage::Text() const {
  if (!HasMap()) return m_storage ? texts::kNoMap : texts::kNoStorage;
  const MapGrid grid = MakeMapGrid(m_storage->map.get(), cMapWatch::kMostCells);
  return Words("{}\r\n", Utf8(MapCounts(grid.totals, grid.sectors)));
}

std::string cMapPage::Picture() const {
  return HasMap() ? DrawMapPng(m_storage->map.get(), Utf8(m_storage->title)) : std::string();
}

}  // namespace larkspur::host
