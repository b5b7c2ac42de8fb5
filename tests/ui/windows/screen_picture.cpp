// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/windows/screen_picture.h"

#include "imaging/png_writer.h"
#include "imaging/text_file.h"
#include "ui/handles.h"

namespace larkspur {

bool SavePicture(HWND window, const std::u16string& path) {
  RECT box{};
  GetWindowRect(window, &box);
  const int width = box.right - box.left, height = box.bottom - box.top;
  const cScreenDc screen;
  const OwnedMemoryDc memory(CreateCompatibleDC(screen));
  BITMAPINFO info{};
  info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const OwnedBitmap bitmap(CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  const cSelected selected(memory.get(), bitmap.get());
  BitBlt(memory.get(), 0, 0, width, height, screen, box.left, box.top, SRCCOPY);
  const u32 columns = static_cast<u32>(width), rows = static_cast<u32>(height);
  Canvas canvas(columns, rows, {0, 0, 0});
  const u8* at = static_cast<const u8*>(bits);
  for (u32 i = 0; i < columns * rows; ++i, at += 4) {
    canvas.Fill(i % columns, i / columns, 1, 1, {at[2], at[1], at[0]});
  }
  return WriteWholeFile(path, canvas.ToPng());
}

}  // namespace larkspur
