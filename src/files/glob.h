// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Globs for paths: `*` is any part of a name, `**` any part of a path, `?` one byte of a name;
// "/**/" is also a single slash. A glob that does not begin with "/" fits in any folder.

#include <string_view>
#include <vector>

#include "base/types.h"

namespace larkspur {

class Glob {
 public:
  explicit Glob(std::string_view text);

  // Takes time in proportion to both lengths, whatever they hold.
  bool Fits(std::string_view path) const;

 private:
  enum class Kind : u8 { kByte, kOne, kName, kPath, kMaybeFolders, kFolders };
  struct Token {
    Kind kind;
    char byte;
  };

  void AddStars(Kind kind);
  // Puts token `at` among those that the next byte is held against, and what it may be left out
  // for.
  void Enter(size_t at, std::vector<bool>* states) const;
  void Step(size_t at, char byte, std::vector<bool>* states) const;

  std::vector<Token> m_tokens;
};

}  // namespace larkspur
