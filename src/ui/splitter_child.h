// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A bar between two neighbours that the user drags, or moves with the arrow keys.

#include <functional>

#include "ui/child.h"
#include "ui/model/layout.h"

namespace larkspur {

class cSplitterChild : public cValueChild {
 public:
  enum class Along { Horizontally, Vertically };  // which way it moves
  static constexpr i32 kThickness = 5;            // units

  explicit cSplitterChild(Along along);

  // `name` is what screen readers call it.
  bool Create(cCustomForm& form, std::u16string_view name);

  // The first neighbour's extent in pixels, kept within the range that the form gives in its
  // OnLayout, before it places the neighbours and this.
  i32 Value() const { return SplitPosition(m_wanted, m_range); }
  void SetValue(i32 pixels) { m_wanted = pixels; }
  void SetRange(const SplitRange& range) { m_range = range; }

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnCursor(const WindowMessage& message);
  MessageAnswer OnPress(const WindowMessage& message);
  MessageAnswer OnDrag(const WindowMessage& message);
  MessageAnswer OnRelease(const WindowMessage& message);
  MessageAnswer OnKeyCode(const WindowMessage& message);
  MessageAnswer OnKey(const WindowMessage& message);
  MessageAnswer OnPaint(const WindowMessage& message);
  MessageAnswer OnFocusChange(const WindowMessage& message);

  void SlideTo(i32 wanted);
  // On the screen, in the direction in which the bar moves.
  i32 PointerPosition(const WindowMessage& message) const;

  Along m_along;
  i32 m_wanted = 0;
  i32 m_grip = 0;  // from the first neighbour's end to where the pointer took the bar
  SplitRange m_range;
};

}  // namespace larkspur
