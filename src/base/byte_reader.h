// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A reader of integers and byte ranges from a buffer whose length it knows.
//
// The fault is sticky: after the first read outside the buffer every later read answers 0 (or an
// empty range), so that a parser reads all its fields and asks Failed() once.

#include <span>

#include "base/endian.h"
#include "base/types.h"

namespace larkspur {

class ByteReader {
 public:
  explicit ByteReader(std::span<const u8> bytes) : m_bytes(bytes) {}

  size_t Size() const { return m_bytes.size(); }
  bool Failed() const { return m_failed; }

  u8 U8(size_t offset) { return Has(offset, 1) ? m_bytes[offset] : u8{0}; }
  u16 Le16(size_t offset) { return Has(offset, 2) ? LoadLe16(&m_bytes[offset]) : u16{0}; }
  u32 Le32(size_t offset) { return Has(offset, 4) ? LoadLe32(&m_bytes[offset]) : 0; }
  u64 Le64(size_t offset) { return Has(offset, 8) ? LoadLe64(&m_bytes[offset]) : 0; }
  u16 Be16(size_t offset) { return Has(offset, 2) ? LoadBe16(&m_bytes[offset]) : u16{0}; }
  u32 Be32(size_t offset) { return Has(offset, 4) ? LoadBe32(&m_bytes[offset]) : 0; }
  u64 Be64(size_t offset) { return Has(offset, 8) ? LoadBe64(&m_bytes[offset]) : 0; }

  // The bytes [offset, offset+count), or an empty range when they are not all there.
  std::span<const u8> Bytes(size_t offset, size_t count) {
    return Has(offset, count) ? m_bytes.subspan(offset, count) : std::span<const u8>{};
  }

 private:
  bool Has(size_t offset, size_t count) {
    if (offset > m_bytes.size() || count > m_bytes.size() - offset) m_failed = true;
    return !m_failed;
  }

  std::span<const u8> m_bytes;
  bool m_failed = false;
};

}  // namespace larkspur
