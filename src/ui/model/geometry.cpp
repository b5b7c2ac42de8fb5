// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/geometry.h"

#include <algorithm>

namespace larkspur {
namespace {

// `value` from the near edge, or from the far one when it is negative.
i32 FromEdge(i32 value, i32 extent) {
  return value < 0 ? extent + value : value;
}

i32 Within(i32 position, i32 length, i32 low, i32 extent) {
  return std::max(low, std::min(position, low + extent - length));
}

}  // namespace

i32 Scaled(i32 units, u32 dpi) {
  const i64 product = i64{units} * i64{dpi};
  const i64 half = product < 0 ? -i64{kUnitDpi / 2} : i64{kUnitDpi / 2};
  return static_cast<i32>((product + half) / i64{kUnitDpi});
}

Size Scaled(Size units, u32 dpi) {
  return {Scaled(units.width, dpi), Scaled(units.height, dpi)};
}

Box PlaceOf(const AnchoredBox& box, Size client, u32 dpi) {
  return {FromEdge(Scaled(box.x, dpi), client.width), FromEdge(Scaled(box.y, dpi), client.height),
          std::max(0, FromEdge(Scaled(box.width, dpi), client.width)),
          std::max(0, FromEdge(Scaled(box.height, dpi), client.height))};
}

Box CentredOver(const Box& over, Size size, const Box& workArea) {
  const i32 x = over.x + (over.width - size.width) / 2;
  const i32 y = over.y + (over.height - size.height) / 2;
  return {Within(x, size.width, workArea.x, workArea.width),
          Within(y, size.height, workArea.y, workArea.height), size.width, size.height};
}

}  // namespace larkspur
