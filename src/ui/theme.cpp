// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/theme.h"

#include <algorithm>

#include <dwmapi.h>
#include <uxtheme.h>

#include "platform/windows/win32.h"
#include "ui/model/contrast.h"

namespace larkspur {
namespace {

LOGFONTW Description(u32 number, i32 pixels) {
  LOGFONTW font{};
  font.lfHeight = pixels;
  font.lfWeight = number == kFontBold ? FW_BOLD : FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  font.lfQuality = CLEARTYPE_QUALITY;
  lstrcpynW(font.lfFaceName, number == kFontFixed ? L"Courier New" : L"Tahoma", LF_FACESIZE);
  return font;
}

constexpr DWORD kUseDarkTitle = 20;  // DWMWA_USE_IMMERSIVE_DARK_MODE, since Windows 10 20H1

bool AreProgramsDark() {
  DWORD isLight = 1, bytes = sizeof isLight;
  const LSTATUS status = RegGetValueW(
      HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
      L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &isLight, &bytes);
  return status == ERROR_SUCCESS && isLight == 0;
}

}  // namespace

bool IsHighContrast() {
  HIGHCONTRASTW state{};
  state.cbSize = sizeof state;
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof state, &state, 0) &&
         (state.dwFlags & HCF_HIGHCONTRASTON);
}

COLORREF TextColour(COLORREF wanted) {
  const bool isOwn = !IsHighContrast() && IsLegible(wanted, GetSysColor(COLOR_BTNFACE));
  return isOwn ? wanted : GetSysColor(COLOR_BTNTEXT);
}

bool AreColoursDark() {
  constexpr u32 kBlack = 0;
  return !IsHighContrast() && !IsLegible(kBlack, GetSysColor(COLOR_BTNFACE));
}

void SetVisualStyle(HWND control, const wchar_t* style) {
  if (AreColoursDark()) {
    SetWindowTheme(control, L" ", L" ");  // names that no style has; Wine ignores empty ones
  } else if (style) {
    SetWindowTheme(control, style, nullptr);
  }
}

i32 cTextRuler::Width(std::u16string_view text) const {
  SIZE extent{};
  GetTextExtentPoint32W(m_screen, Wide(text.data()), static_cast<int>(text.size()), &extent);
  return extent.cx;
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

void FollowAppModeInTitle(HWND window) {
  const BOOL isDark = AreProgramsDark() && !IsHighContrast();
  DwmSetWindowAttribute(window, kUseDarkTitle, &isDark, sizeof isDark);
}

}  // namespace larkspur
