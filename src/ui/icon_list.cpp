// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/icon_list.h"

#include <algorithm>

namespace larkspur {

HIMAGELIST cIconList::At(i32 extent) {
  OwnedImageList& list = m_lists[extent];
  if (list) return list.get();
  list.reset(ImageList_Create(extent, extent, ILC_COLOR32 | ILC_MASK,
                              static_cast<int>(m_numbers.size()), 0));
  for (const u32 number : m_numbers) {
    const OwnedIcon icon = MakeIcon(number, extent);
    ImageList_ReplaceIcon(list.get(), -1, icon.get());
  }
  return list.get();
}

size_t cIconList::IndexOf(u32 iconNumber) const {
  return static_cast<size_t>(std::find(m_numbers.begin(), m_numbers.end(), iconNumber) -
                             m_numbers.begin());
}

}  // namespace larkspur
