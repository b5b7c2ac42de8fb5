// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Text between the toolkit, which counts in char16_t, and the system, whose wchar_t is the same.

#include <windows.h>

#include <string>

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

}  // namespace larkspur
