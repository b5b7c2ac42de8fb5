// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/node_bytes.h"

#include "base/endian.h"

namespace larkspur {

std::span<const u8> NodeBytes::Bytes(u64 offset, size_t count) {
  const u64 size = Size();
  const u64 at = m_base + offset;
  if (m_failed || at < m_base || at > size || count > size - at) {
    m_failed = true;
    return {};
  }
  const u64 first = at >> kSectorShift;
  const u64 end = (at + count + kSectorBytes - 1) >> kSectorShift;
  if (first < m_first || end > m_first + m_count) {
    m_first = first;
    m_count = end - first;
    m_buffer.resize(m_count << kSectorShift);
    const u32 sectors = static_cast<u32>(m_count);
    if (m_scan.Read(m_node.m_start + first, sectors, m_buffer.data()) != sectors) {
      m_count = 0;
      m_failed = true;
      return {};
    }
  }
  return std::span<const u8>(m_buffer).subspan(at - (m_first << kSectorShift), count);
}

u8 NodeBytes::U8(u64 offset) {
  const auto bytes = Bytes(offset, 1);
  return bytes.empty() ? u8{0} : bytes[0];
}

u16 NodeBytes::Le16(u64 offset) {
  const auto bytes = Bytes(offset, 2);
  return bytes.empty() ? u16{0} : LoadLe16(bytes.data());
}

u32 NodeBytes::Le32(u64 offset) {
  const auto bytes = Bytes(offset, 4);
  return bytes.empty() ? 0 : LoadLe32(bytes.data());
}

u64 NodeBytes::Le64(u64 offset) {
  const auto bytes = Bytes(offset, 8);
  return bytes.empty() ? 0 : LoadLe64(bytes.data());
}

u16 NodeBytes::Be16(u64 offset) {
  const auto bytes = Bytes(offset, 2);
  return bytes.empty() ? u16{0} : LoadBe16(bytes.data());
}

u32 NodeBytes::Be32(u64 offset) {
  const auto bytes = Bytes(offset, 4);
  return bytes.empty() ? 0 : LoadBe32(bytes.data());
}

u64 NodeBytes::Be64(u64 offset) {
  const auto bytes = Bytes(offset, 8);
  return bytes.empty() ? 0 : LoadBe64(bytes.data());
}

}  // namespace larkspur
