// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The theme's icons as shapes, rendered to pixels at any size: crisp at every scale, and no picture
// files. Pure arithmetic.
//
// An icon is a list of figures in a square of 32 by 32 units, painted one over the other. A figure
// is all that lies within `radius` of its outline, or inside of it: one point makes a disc, two a
// line with round ends, three or more a filled polygon with round corners.

#include <optional>
#include <vector>

#include "base/types.h"

namespace larkspur {

// The theme's icon numbers.
enum IconNumber : u32 {
  kIconAccept = 77,
  kIconCancel = 78,
  kIconAdd = 79,
  kIconChoose = 80,
  kIconFolder = 81,
  kIconFile = 82,
  kIconDrive = 83,
  kIconDisc = 84,
  kIconNetwork = 85,
  kIconHome = 86,
  kIconNewFolder = 87,
  kIconUp = 88,
  kIconStop = 89,
  kIconStart = 90,
  kIconSave = 91,
  kIconNext = 92,
  kIconPrevious = 93,
  kIconStorage = 94,
  kIconApplication = 95,
  kIconInformation = 96,
  kIconWarning = 97,
  kIconError = 98,
  kIconQuestion = 99,
  kIconPartition = 100,
};

constexpr u32 kFirstIcon = kIconAccept;
constexpr u32 kLastIcon = kIconPartition;

// A square of pixels from the top left, rows one after the other: 0xAARRGGBB, colour not multiplied
// by alpha.
struct IconPixels {
  u32 extent = 0;
  std::vector<u32> pixels;
};

// Icon `number` at extent by extent pixels; nothing for an unknown number or an extent outside of
// 1 to 512.
std::optional<IconPixels> RenderIcon(u32 number, u32 extent);

// The same icon for something that cannot be used now: grey and half transparent.
IconPixels Faded(IconPixels icon);

}  // namespace larkspur
