// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A list of the theme's icons that elements show by index, made once for each size that is asked
// for. One list may serve all instances of a form.

#include <map>
#include <utility>
#include <vector>

#include "ui/handles.h"
#include "ui/model/icon_shapes.h"

namespace larkspur {

// The theme's icons as the system's icons and image lists.

// Icon `number` at extent by extent pixels; null for an unknown number.
OwnedIcon MakeIcon(u32 number, i32 extent);

// Pictures of one extent as an image list, in their order; null without memory or pictures.
OwnedImageList MakeImages(const std::vector<IconPixels>& pictures);

class cIconList {
 public:
  cIconList() = default;
  explicit cIconList(std::vector<u32> iconNumbers) : m_numbers(std::move(iconNumbers)) {}

  // The icons at extent by extent pixels; owned by the list. Null with an unknown number among
  // them.
  HIMAGELIST At(i32 extent);

  // The index of the icon with this number; the number of icons when it is not in the list.
  size_t IndexOf(u32 iconNumber) const;

 private:
  std::vector<u32> m_numbers;
  std::map<i32, OwnedImageList> m_lists;
};

}  // namespace larkspur
