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

}  // namespace larkspur::platform
