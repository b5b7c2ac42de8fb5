// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "windows/screen_picture.h"

#include <algorithm>

#include "imaging/output_file.h"
#include "imaging/png_writer.h"
#include "ui/handles.h"

namespace larkspur {
namespace {

constexpr u32 kColourBits = 0xFFFFFF;  // the screen leaves the upper byte to chance

ScreenPixels PixelsIn(const RECT& box) {
  ScreenPixels shown{box.right - box.left, box.bottom - box.top, {}};
  const cScreenDc screen;
  const OwnedMemoryDc memory(CreateCompatibleDC(screen));
  BITMAPINFO info{};
  info.bmiHeader = {
      sizeof info.bmiHeader, shown.width, -shown.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const OwnedBitmap bitmap(CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  const cSelected selected(memory.get(), bitmap.get());
  BitBlt(memory.get(), 0, 0, shown.width, shown.height, screen, box.left, box.top, SRCCOPY);
  const u32* const first = static_cast<const u32*>(bits);
  shown.pixels.assign(first, first + shown.width * shown.height);
  for (u32& pixel : shown.pixels) pixel &= kColourBits;
  return shown;
}

}  // namespace

ScreenPixels WindowPixels(HWND window) {
  RECT box{};
  GetWindowRect(window, &box);
  return PixelsIn(box);
}

ScreenPixels ClientPixels(HWND window) {
  RECT box{};
  GetClientRect(window, &box);
  MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&box), 2);
  return PixelsIn(box);
}

bool SavePicture(const ScreenPixels& shown, const std::u16string& path) {
  const u32 columns = static_cast<u32>(shown.width), rows = static_cast<u32>(shown.height);
  Canvas canvas(columns, rows, {0, 0, 0});
  for (u32 i = 0; i < columns * rows; ++i) {
    const u32 pixel = shown.pixels[i];
    canvas.Fill(
        i % columns, i / columns, 1, 1,
        {static_cast<u8>(pixel >> 16), static_cast<u8>(pixel >> 8), static_cast<u8>(pixel)});
  }
  return ReplaceOutput(path, canvas.ToPng());
}

bool SavePicture(HWND window, const std::u16string& path) {
  return SavePicture(WindowPixels(window), path);
}

}  // namespace larkspur
