// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The theme's icons as the system's icons and image lists.

#include <vector>

#include "ui/handles.h"
#include "ui/model/icon_shapes.h"

namespace larkspur {

// Icon `number` at extent by extent pixels; null for an unknown number.
OwnedIcon MakeIcon(u32 number, i32 extent);

// Pictures of one extent as an image list, in their order; null without memory or pictures.
OwnedImageList MakeImages(const std::vector<IconPixels>& pictures);

}  // namespace larkspur
