// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Digests as a library that is looked after computes them: Nettle, or Windows' own.

#include <array>
#include <memory>
#include <optional>
#include <span>

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

// The MD5 of the bytes, which some formats make identifiers of; none when the system failed. It
// protects nothing.
std::optional<std::array<u8, 16>> Md5(std::span<const u8> bytes);

}  // namespace larkspur::platform
