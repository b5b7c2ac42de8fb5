// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/theme.h"

#include <algorithm>

#include "ui/wide.h"

namespace larkspur {
namespace {

bool IsHighContrast() {
  HIGHCONTRASTW state{};
  state.cbSize = sizeof state;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof state, &state, 0) &&
         (state.dwFlags & HCF_HIGHCONTRASTON);
}

// A top-down bitmap of the icon's pixels with their alpha; null without memory for it.
OwnedBitmap BitmapOf(const IconPixels& icon) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = static_cast<LONG>(icon.extent);
  info.bmiHeader.biHeight = -static_cast<LONG>(icon.extent);
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  OwnedBitmap bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  if (bitmap) std::copy(icon.pixels.begin(), icon.pixels.end(), static_cast<u32*>(bits));
  return bitmap;
}

LOGFONTW Description(u32 number, i32 pixels) {
  LOGFONTW font{};
  font.lfHeight = pixels;
  font.lfWeight = number == kFontBold ? FW_BOLD : FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfQuality = CLEARTYPE_QUALITY;
  lstrcpynW(font.lfFaceName, number == kFontFixed ? L"Courier New" : L"Tahoma", LF_FACESIZE);
  return font;
}

}  // namespace

COLORREF TextColour(COLORREF wanted) {
  return IsHighContrast() ? GetSysColor(COLOR_WINDOWTEXT) : wanted;
}

OwnedIcon MakeIcon(u32 number, i32 extent, bool faded) {
  const auto pixels = RenderIcon(number, static_cast<u32>(extent));
  if (!pixels) return nullptr;
  const OwnedBitmap colour = BitmapOf(faded ? Faded(*pixels) : *pixels);
  // The mask of an icon with alpha is not looked at; a bitmap of one bit a pixel has to be there.
  const OwnedBitmap mask(CreateBitmap(extent, extent, 1, 1, nullptr));
  if (!colour || !mask) return nullptr;
  ICONINFO info{TRUE, 0, 0, mask.get(), colour.get()};
  return OwnedIcon(CreateIconIndirect(&info));
}

Size TextSize(HFONT font, std::u16string_view text) {
  const cScreenDc screen;
  const cSelected selected(screen, font);
  SIZE extent{};
  GetTextExtentPoint32W(screen, Wide(text.data()), static_cast<int>(text.size()), &extent);
  TEXTMETRICW metrics{};
  GetTextMetricsW(screen, &metrics);
  return {extent.cx, std::max(extent.cy, metrics.tmHeight)};
}

i32 WrappedHeight(HFONT font, std::u16string_view text, i32 width) {
  const cScreenDc screen;
  const cSelected selected(screen, font);
  RECT box{0, 0, std::max(width, 1), 0};
  DrawTextW(screen, Wide(text.data()), static_cast<int>(text.size()), &box,
            DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
  return box.bottom;
}

HFONT cTheme::Font(u32 number, i32 size) {
  OwnedFont& font = m_fonts[{number, size}];
  if (!font) {
    const LOGFONTW description = Description(number, Pixels(size));
    font.reset(CreateFontIndirectW(&description));
  }
  return font.get();
}

}  // namespace larkspur
