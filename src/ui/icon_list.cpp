// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/icon_list.h"

#include <algorithm>

namespace larkspur {

HIMAGELIST cIconList::At(i32 extent) {
  OwnedImageList& list = m_lists[extent];
  if (list) return list.get();
  std::vector<IconPixels> pictures;
  for (const u32 number : m_numbers) {
    const auto picture = RenderIcon(number, static_cast<u32>(extent));
    if (!picture) return nullptr;
    pictures.push_back(*picture);
  }
  list = MakeImages(pictures);
  return list.get();
}

size_t cIconList::IndexOf(u32 iconNumber) const {
  return static_cast<size_t>(std::find(m_numbers.begin(), m_numbers.end(), iconNumber) -
                             m_numbers.begin());
}

namespace {

// The pictures side by side with their alpha, in a bitmap from the top down; null without memory.
OwnedBitmap Strip(const std::vector<IconPixels>& pictures) {
  const size_t extent = pictures[0].extent, width = extent * pictures.size();
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = static_cast<LONG>(width);
  info.bmiHeader.biHeight = -static_cast<LONG>(extent);
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  OwnedBitmap bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  if (!bitmap) return nullptr;
  for (size_t i = 0; i < pictures.size(); ++i) {
    for (size_t y = 0; y < extent; ++y) {
      std::copy_n(pictures[i].pixels.data() + y * extent, extent,
                  static_cast<u32*>(bits) + y * width + i * extent);
    }
  }
  return bitmap;
}

}  // namespace

OwnedIcon MakeIcon(u32 number, i32 extent) {
  const auto pixels = RenderIcon(number, static_cast<u32>(extent));
  if (!pixels) return nullptr;
  const OwnedBitmap colour = Strip({*pixels});
  // The mask of an icon with alpha is not looked at; a bitmap of one bit a pixel has to be there.
  const OwnedBitmap mask(CreateBitmap(extent, extent, 1, 1, nullptr));
  if (!colour || !mask) return nullptr;
  ICONINFO info{TRUE, 0, 0, mask.get(), colour.get()};
  return OwnedIcon(CreateIconIndirect(&info));
}

OwnedImageList MakeImages(const std::vector<IconPixels>& pictures) {
  if (pictures.empty()) return nullptr;
  const int extent = static_cast<int>(pictures[0].extent);
  OwnedImageList images(ImageList_Create(extent, extent, ILC_COLOR32 | ILC_MASK,
                                         static_cast<int>(pictures.size()), 0));
  // All at once: the system takes as long for one picture as for many.
  const OwnedBitmap strip = Strip(pictures);
  if (!images || !strip || ImageList_Add(images.get(), strip.get(), nullptr) < 0) return nullptr;
  return images;
}

}  // namespace larkspur
