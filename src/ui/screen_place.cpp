// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/screen_place.h"

namespace larkspur {
namespace {

Box BoxOf(const RECT& box) {
  return {box.left, box.top, box.right - box.left, box.bottom - box.top};
}

}  // namespace

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
