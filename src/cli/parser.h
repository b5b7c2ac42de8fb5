// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The values of options, checked with a message that a person understands: what they throw is a
// CLI::ValidationError that names `option`.

#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur::cli {

struct Bounds {
  u64 least = 0;
  u64 most = ~u64{0};
};

// The number that `text` is, in decimal digits and nothing else: "010" may have been meant as
// octal. Throws when it is none within the bounds.
u64 ParseNumber(const std::string& option, const std::string& text, Bounds bounds);

// The bytes that "512", "64Ki", "10M" or "1 GB" name (K: 1000, Ki: 1024), at least 1. Throws
// when it names none.
u64 ParseSize(const std::string& option, const std::string& text);

// The place of `text` in `words`. Throws when it is none of them.
size_t ParseWord(const std::string& option, const std::string& text,
                 const std::vector<std::string>& words);

// A partition's place as partitions/place.h has it, but for the whole storage's. Throws when it is
// none.
std::string ParsePlace(const std::string& option, const std::string& text);

// The name of a file to write beside what goes to standard output, so throws for "-".
std::string ParseFile(const std::string& option, const std::string& text);

}  // namespace larkspur::cli
