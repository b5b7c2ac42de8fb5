// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// SHA-256 as a library that is looked after computes it: Nettle, or Windows' own.

#include <array>
#include <memory>

#include "base/types.h"

namespace larkspur::platform {

class Sha256 {
 public:
  Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;
  ~Sha256();

  void Add(const void* bytes, size_t count);
  // The digest of all that was added; none when the system failed. May be called once.
  bool Finish(std::array<u8, 32>* digest);

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace larkspur::platform
