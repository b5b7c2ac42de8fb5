// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Texts of the message catalog, as elements take them.

#include <string>
#include <string_view>

#include "catalog/message_catalog.h"

namespace larkspur {

// Item `item` of `key` in the language in use; empty when the catalog has no such text.
inline std::u16string TextOf(std::string_view key, size_t item) {
  const char16_t* text = Messages().Text(key, item);
  return text ? text : u"";
}

}  // namespace larkspur
