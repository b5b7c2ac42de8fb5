// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A text for too little room. Its end is what tells paths apart, so it is the middle that goes.

#include <functional>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

// `text` where it fits into `room`; else as much of its beginning and its end as fits, twice as
// much of the end, with an ellipsis between them. `widthOf` measures texts in the unit of `room`.
std::u16string ShortenedText(std::u16string_view text, i32 room,
                             const std::function<i32(std::u16string_view)>& widthOf);

}  // namespace larkspur
