// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// NodeBytes: the bytes of a node, read through a scan as they are asked for. After the first that
// cannot be read every later answer is 0 or empty, until Reset.

#include <span>
#include <vector>

#include "partitions/scan.h"

namespace larkspur {

class NodeBytes {
 public:
  NodeBytes(Scan& scan, const cPartTreeItem& node) : m_scan(scan), m_node(node) {}

  // In bytes, as the node's table gives it.
  u64 Size() const { return m_scan.TableLength(m_node) << kSectorShift; }
  const cPartTreeItem& Node() const { return m_node; }

  // Where offsets count from, in bytes from the node's start. Forgets a fault.
  void Reset(u64 base = 0) {
    m_base = base;
    m_failed = false;
  }
  u64 Base() const { return m_base; }
  bool Failed() const { return m_failed; }

  // The bytes [offset, offset+count), valid until the next call; empty when they lie past the
  // node's end or do not come.
  std::span<const u8> Bytes(u64 offset, size_t count);

  u8 U8(u64 offset);
  u16 Le16(u64 offset);
  u32 Le32(u64 offset);
  u64 Le64(u64 offset);
  u16 Be16(u64 offset);
  u32 Be32(u64 offset);
  u64 Be64(u64 offset);

 private:
  Scan& m_scan;
  const cPartTreeItem& m_node;
  u64 m_base = 0;
  bool m_failed = false;
  u64 m_first = 0;  // sector of the node that the buffer begins with
  u64 m_count = 0;  // sectors in it
  std::vector<u8> m_buffer;
};

}  // namespace larkspur
