// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/title_bar.h"

#include <dwmapi.h>

#include "ui/theme.h"

namespace larkspur {
namespace {

constexpr DWORD kUseDarkTitle = 20;  // DWMWA_USE_IMMERSIVE_DARK_MODE, since Windows 10 20H1

bool AreProgramsDark() {
  DWORD isLight = 1, bytes = sizeof isLight;
  const LSTATUS status = RegGetValueW(
      HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
      L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &isLight, &bytes);
  return status == ERROR_SUCCESS && isLight == 0;
}

}  // namespace

void FollowAppModeInTitle(HWND window) {
  const BOOL isDark = AreProgramsDark() && !IsHighContrast();
  DwmSetWindowAttribute(window, kUseDarkTitle, &isDark, sizeof isDark);
}

}  // namespace larkspur
