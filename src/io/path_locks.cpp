// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/path_locks.h"

#include <functional>
#include <map>
#include <new>
#include <string>

namespace larkspur {

cCriticalSection* FindPathLock(std::u16string_view path) {
  // Never destroyed: an image may outlive the end of main.
  static cCriticalSection& guard = *new cCriticalSection;
  static auto& sections = *new std::map<std::u16string, cCriticalSection, std::less<>>;
  cSafeCriticalSectionAccess access(&guard);
  try {
    const auto found = sections.find(path);
    if (found != sections.end()) return &found->second;
    return &sections[std::u16string(path)];
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace larkspur
