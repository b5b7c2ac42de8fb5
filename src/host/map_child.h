// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A map as a field of squares, as large as fit.

#include <functional>
#include <memory>
#include <optional>

#include "imaging/map_grid.h"
#include "ui/child.h"

namespace larkspur::host {

class cMapChild final : public cChild {
 public:
  cMapChild();

  // Null: nothing is shown.
  void SetGrid(std::shared_ptr<const MapGrid> grid);

  std::function<void(POINT where)> onContextMenu;
  // The pointer came to another square, or left them all.
  std::function<void(std::optional<size_t> cell)> onHover;
  std::function<void(size_t cell)> onClick;

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnPaint(const WindowMessage& message);
  MessageAnswer OnMenu(const WindowMessage& message);
  MessageAnswer OnPress(const WindowMessage& message);
  MessageAnswer OnFocusChange(const WindowMessage& message);
  MessageAnswer OnMove(const WindowMessage& message);
  MessageAnswer OnLeave(const WindowMessage& message);
  void Draw(HDC dc, Size size) const;
  std::optional<size_t> CellUnder(const WindowMessage& message) const;
  void Hover(std::optional<size_t> cell);

  std::shared_ptr<const MapGrid> m_grid;
  std::optional<size_t> m_hovered;
};

}  // namespace larkspur::host
