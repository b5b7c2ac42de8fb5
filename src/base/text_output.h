// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where a converter puts its units: a buffer that refuses what does not fit, or a mere count.

#include <algorithm>
#include <iterator>

#include "base/types.h"

namespace larkspur::text {

constexpr char16_t kReplacement = 0xFFFD;  // what has no meaning, in UTF-16
constexpr u8 kUnwritable = '?';            // what a page cannot write

template <typename Unit>
class BufferOutput {
 public:
  BufferOutput(Unit* out, size_t capacity) : m_first(out), m_next(out), m_end(out + capacity) {}

  size_t Count() const { return static_cast<size_t>(m_next - m_first); }
  size_t Room() const { return static_cast<size_t>(m_end - m_next); }

  // False, and nothing is written, when there is no room.
  bool Put(Unit unit) {
    if (m_next == m_end) return false;
    *m_next++ = unit;
    return true;
  }

  // Widens `count` ASCII bytes. REQUIRES: count <= Room().
  void PutAscii(const u8* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) m_next[i] = bytes[i];
    m_next += count;
  }

 private:
  Unit* m_first;
  Unit* m_next;
  Unit* m_end;
};

class CountOutput {
 public:
  size_t Count() const { return m_count; }
  size_t Room() const { return ~size_t{0}; }
  bool Put(char16_t) {
    ++m_count;
    return true;
  }
  void PutAscii(const u8*, size_t count) { m_count += count; }

 private:
  size_t m_count = 0;
};

using WideOutput = BufferOutput<char16_t>;
using ByteOutput = BufferOutput<u8>;

inline bool IsHighSurrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
inline bool IsLowSurrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

inline bool IsSurrogate(char16_t unit) {
  return (unit & 0xF800) == 0xD800;
}

// How many units the character at `at` takes: 2 for a surrogate pair, else 1.
inline size_t CharacterUnits(const char16_t* at, const char16_t* end) {
  return end - at > 1 && IsHighSurrogate(at[0]) && IsLowSurrogate(at[1]) ? 2 : 1;
}

}  // namespace larkspur::text
