// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How forms look: fonts by number, and colours. A form has a theme of its own for the scale that
// it is shown at and gives the fonts back with it.
//
// Colours are the system's COLORREF (0xBBGGRR). In high-contrast modes, and where the system's
// background would make one illegible, the system's own text colour takes the place of all others.

#include <windows.h>

#include <map>
#include <string_view>
#include <utility>

#include "ui/handles.h"
#include "ui/model/geometry.h"

namespace larkspur {

// The theme's fonts, all "Tahoma" but the fixed one.
enum FontNumber : u32 { kFontRegular = 5, kFontBold = 6, kFontFixed = 7 };

constexpr i32 kTextSize = 13;  // a line's height in units
constexpr i32 kIconSize = 16;  // units
constexpr COLORREF kLabelColour = 0x404040;
constexpr COLORREF kNoticeColour = 0xff4040;

// Whether the user chose one of the high-contrast modes.
bool IsHighContrast();

// What to draw text of `wanted` colour with.
COLORREF TextColour(COLORREF wanted);

// Whether the system's colours are dark outside of the high-contrast modes. Its visual style then
// still draws light surfaces, on which text in the system's light colour cannot be read.
bool AreColoursDark();

// Has the control drawn in the visual style named `style` (null: its own), or, where that would be
// illegible, plainly in the system's colours.
void SetVisualStyle(HWND control, const wchar_t* style = nullptr);

// Measures many texts in one font, in pixels.
class cTextRuler {
 public:
  explicit cTextRuler(HFONT font) : m_selected(m_screen, font) {}
  i32 Width(std::u16string_view text) const;

 private:
  cScreenDc m_screen;
  cSelected m_selected;
};

// The size of one line of text in pixels.
Size TextSize(HFONT font, std::u16string_view text);

// The height in pixels of text wrapped at `width`.
i32 WrappedHeight(HFONT font, std::u16string_view text, i32 width);

class cTheme {
 public:
  explicit cTheme(u32 dpi) : m_dpi(dpi) {}

  // Font `number` with lines of `size` units; owned by the theme, null when there is none to be
  // had.
  HFONT Font(u32 number = kFontRegular, i32 size = kTextSize);

  u32 Dpi() const { return m_dpi; }
  i32 Pixels(i32 units) const { return Scaled(units, m_dpi); }

 private:
  u32 m_dpi;
  std::map<std::pair<u32, i32>, OwnedFont> m_fonts;
};

// Makes the window's title bar dark where the user chose dark programs, and light elsewhere. The
// controls inside have no dark look that is documented, so they keep the system's colours. Nothing
// happens on systems without dark title bars.
void FollowAppModeInTitle(HWND window);

}  // namespace larkspur
