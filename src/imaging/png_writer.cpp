// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/png_writer.h"

#include <algorithm>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

namespace larkspur {

Canvas::Canvas(u32 width, u32 height, Colour background)
    : m_width(width), m_height(height), m_pixels(u64{width} * height, background) {}

void Canvas::Fill(u32 x, u32 y, u32 width, u32 height, Colour colour) {
  const u32 right = std::min(m_width, x + width);
  const u32 bottom = std::min(m_height, y + height);
  for (; y < bottom && x < right; ++y) {
    std::fill_n(&m_pixels[u64{y} * m_width + x], right - x, colour);
  }
}

std::string Canvas::ToPng() const {
  static_assert(sizeof(Colour) == 3);
  std::string file;
  const auto append = [](void* context, void* data, int size) {
    static_cast<std::string*>(context)->append(static_cast<const char*>(data),
                                               static_cast<size_t>(size));
  };
  stbi_write_png_to_func(append, &file, static_cast<int>(m_width), static_cast<int>(m_height), 3,
                         m_pixels.data(), static_cast<int>(m_width * 3));
  return file;
}

}  // namespace larkspur
