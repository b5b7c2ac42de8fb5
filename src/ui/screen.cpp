// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/screen.h"

namespace larkspur {
namespace {

constexpr int kLeaveAllToUs = 1;  // DDC_DISABLE_ALL

template <typename Function>
Function FromUser32(const char* name) {
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"user32.dll"), name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

Box BoxOf(const RECT& box) {
  return {box.left, box.top, box.right - box.left, box.bottom - box.top};
}

}  // namespace

u32 DpiOf(HWND window) {
  static const auto dpiForWindow = FromUser32<UINT(WINAPI*)(HWND)>("GetDpiForWindow");
  if (dpiForWindow) {
    if (const UINT dpi = dpiForWindow(window)) return dpi;
  }
  const cScreenDc screen;
  return static_cast<u32>(GetDeviceCaps(screen, LOGPIXELSY));
}

Size WindowSizeFor(Size client, DWORD style, DWORD exStyle, u32 dpi) {
  static const auto adjustForDpi =
      FromUser32<BOOL(WINAPI*)(RECT*, DWORD, BOOL, DWORD, UINT)>("AdjustWindowRectExForDpi");
  RECT box{0, 0, client.width, client.height};
  if (adjustForDpi) {
    adjustForDpi(&box, style, FALSE, exStyle, dpi);
  } else {
    AdjustWindowRectEx(&box, style, FALSE, exStyle);
  }
  return {box.right - box.left, box.bottom - box.top};
}

OwnedFont TitleFont(u32 dpi) {
  static const auto parametersForDpi =
      FromUser32<BOOL(WINAPI*)(UINT, UINT, void*, UINT, UINT)>("SystemParametersInfoForDpi");
  NONCLIENTMETRICSW metrics{};
  metrics.cbSize = sizeof metrics;
  const bool scaled = parametersForDpi &&
                      parametersForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, dpi);
  if (!scaled) SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
  return OwnedFont(CreateFontIndirectW(&metrics.lfCaptionFont));
}

void LeaveDpiChangesToUs(HWND dialog) {
  static const auto setBehavior =
      FromUser32<BOOL(WINAPI*)(HWND, int, int)>("SetDialogDpiChangeBehavior");
  if (setBehavior) setBehavior(dialog, kLeaveAllToUs, kLeaveAllToUs);
}

Box WorkAreaAround(HWND window) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
  return BoxOf(monitor.rcWork);
}

Box PlaceOverOwner(HWND owner, HWND window, Size size) {
  const Box workArea = WorkAreaAround(owner ? owner : window);
  RECT over{};
  const bool seen = owner && IsWindowVisible(owner) && !IsIconic(owner);
  if (!seen || !GetWindowRect(owner, &over)) return CentredOver(workArea, size, workArea);
  return CentredOver(BoxOf(over), size, workArea);
}

}  // namespace larkspur
