// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A map as a field of squares, as large as fit.

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "host/model/map_words.h"
#include "imaging/map_picture.h"
#include "ui/child.h"

namespace larkspur::host {

// What the colours of a map mean, in as many lines as that takes.
class cLegendChild final : public cChild {
 public:
  cLegendChild() : cChild(WC_STATICW, SS_NOPREFIX) {}

  bool Create(cCustomForm& form, std::vector<LegendEntry> entries);

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
  void Draw(HDC dc);

  std::vector<LegendEntry> m_entries;
};

class cMapChild final : public cChild {
 public:
  cMapChild();

  // Null: nothing is shown.
  void SetGrid(std::shared_ptr<const MapGrid> grid);

  std::function<void(POINT where)> onContextMenu;
  // The pointer or the arrow keys came to another square, or left them all.
  std::function<void(std::optional<size_t> cell)> onPoint;
  // A square was clicked, or Enter pressed on the one that the arrow keys came to.
  std::function<void(size_t cell)> onChoose;

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnPaint(const WindowMessage& message);
  MessageAnswer OnMenu(const WindowMessage& message);
  MessageAnswer OnPress(const WindowMessage& message);
  MessageAnswer OnFocusChange(const WindowMessage& message);
  MessageAnswer OnMove(const WindowMessage& message);
  MessageAnswer OnLeave(const WindowMessage& message);
  MessageAnswer OnKeyCode(const WindowMessage& message);
  MessageAnswer OnKey(const WindowMessage& message);
  void Draw(HDC dc, Size size) const;
  void DrawFocus(HDC dc, Size size) const;
  std::optional<size_t> CellUnder(const WindowMessage& message) const;
  void Point(std::optional<size_t> cell);
  void Mark(size_t cell);
  size_t Marked() const;

  std::shared_ptr<const MapGrid> m_grid;
  std::optional<size_t> m_pointed;
  size_t m_marked = 0;  // where the arrow keys are; seen while the keyboard is here
};

}  // namespace larkspur::host
