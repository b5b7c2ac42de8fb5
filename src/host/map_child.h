// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A map as a field of squares, as large as fit.

#include <functional>
#include <memory>

#include "imaging/map_grid.h"
#include "ui/child.h"

namespace larkspur::host {

class cMapChild final : public cChild {
 public:
  cMapChild();

  // Null: nothing is shown.
  void SetGrid(std::shared_ptr<const MapGrid> grid);

  std::function<void(POINT where)> onContextMenu;

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnPaint(const WindowMessage& message);
  MessageAnswer OnMenu(const WindowMessage& message);
  MessageAnswer OnPress(const WindowMessage& message);
  MessageAnswer OnFocusChange(const WindowMessage& message);
  void Draw(HDC dc, Size size) const;

  std::shared_ptr<const MapGrid> m_grid;
};

}  // namespace larkspur::host
