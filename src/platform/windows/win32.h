// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What all who call Windows need: our text counts in char16_t, the system's in wchar_t, which is
// the same; and what the system answers is kept.

#include <windows.h>

#include <string>

#include "platform/system_error.h"

namespace larkspur {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline const wchar_t* Wide(const char16_t* text) {
  return reinterpret_cast<const wchar_t*>(text);
}
inline const wchar_t* Wide(const std::u16string& text) {
  return Wide(text.c_str());
}
// For the system's structures whose text members are not const but only read.
inline wchar_t* WideIn(const std::u16string& text) {
  return const_cast<wchar_t*>(Wide(text));
}
inline wchar_t* WideBuffer(std::u16string& text) {
  return reinterpret_cast<wchar_t*>(text.data());
}

// The system's text; null is empty.
inline std::u16string FromWide(const wchar_t* text) {
  return text ? reinterpret_cast<const char16_t*>(text) : u"";
}

namespace platform {

// Keeps why a call failed.
inline bool Succeeded(BOOL result) {
  if (!result) SetLastFailure(GetLastError());
  return result != FALSE;
}

// No "insert a disk" box while this thread asks a drive.
class QuietDrives {
 public:
  QuietDrives() { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &m_before); }
  QuietDrives(const QuietDrives&) = delete;
  QuietDrives& operator=(const QuietDrives&) = delete;
  ~QuietDrives() { SetThreadErrorMode(m_before, nullptr); }

 private:
  DWORD m_before = 0;
};

}  // namespace platform
}  // namespace larkspur
