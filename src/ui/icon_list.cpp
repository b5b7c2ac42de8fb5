// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/icon_list.h"

#include <algorithm>

#include "ui/icon_images.h"

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

}  // namespace larkspur
