// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Objects whose table of operations a host also calls are destroyed through an ordinary virtual
// operation, `void* Destroy(u32 flags)`: bit 0 set means that the memory is freed as well. GCC's
// own virtual destructors take two slots of the table, so ours are never virtual.

#include <memory>

#include "base/types.h"

namespace larkspur {

constexpr u32 kFreeMemory = 1;

struct DestroyObject {
  template <typename T>
  void operator()(T* object) const {
    object->Destroy(kFreeMemory);
  }
};

template <typename T>
using Owned = std::unique_ptr<T, DestroyObject>;

// The body of Destroy for class T: ends the object's life and, when bit 0 of flags asks for it,
// frees the memory. Returns the object's address.
template <typename T>
void* DestroyAs(T* object, u32 flags) {
  void* memory = object;
  object->T::~T();  // qualified: T may be a base that is not final
  if (flags & kFreeMemory) ::operator delete(memory);
  return memory;
}

}  // namespace larkspur
