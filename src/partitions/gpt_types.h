// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the type of a GUID table's entry is known as.

#include <string_view>

namespace larkspur {

// By the GUID's text in lower case; empty for types that are not in the table.
std::string_view GptTypeWords(std::string_view guid);

// What is expected to lie in a partition of that type, in blkid's word, or one of two; empty where
// nothing in particular is.
struct GptPromise {
  std::string_view first;
  std::string_view second;
};
GptPromise PromiseOfGptType(std::string_view guid);

}  // namespace larkspur
