// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/locale.h"

#include <windows.h>

namespace larkspur::platform {

u32 AnsiCodePage() {
  DWORD number = 0;  // the system counts the room in characters even where it gives a number
  const int units =
      GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                     reinterpret_cast<wchar_t*>(&number), sizeof number / 2);
  return units > 0 ? number : 0;
}

int CompareTexts(std::u16string_view one, std::u16string_view other) {
  const auto wide = [](std::u16string_view text) {
    return reinterpret_cast<const wchar_t*>(text.data());
  };
  const auto length = [](std::u16string_view text) { return static_cast<int>(text.size()); };
  const int order = CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE | NORM_LINGUISTIC_CASING,
                                   wide(one), length(one), wide(other), length(other));
  if (order != 0) return order - CSTR_EQUAL;
  return CompareStringOrdinal(wide(one), length(one), wide(other), length(other), TRUE) -
         CSTR_EQUAL;
}

}  // namespace larkspur::platform
