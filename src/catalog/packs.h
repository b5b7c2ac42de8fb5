// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The language packs that are stored in this program, built from catalog/texts. Each table begins
// with English.

#include <span>

#include "base/types.h"

namespace larkspur {

struct LanguagePack {
  u32 languageId;
  std::span<const u8> image;
};

extern const std::span<const LanguagePack> kModulePacks;   // keys "raid::"
extern const std::span<const LanguagePack> kToolkitPacks;  // keys "ciom::"
extern const std::span<const u8> kLanguageNamesPack;       // key "lnames": names by language id

}  // namespace larkspur
