// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A format as detection sees it: how it is recognised, and what reads it.

#include <span>

#include "partitions/part_parser.h"

namespace larkspur {

constexpr u32 kFrontSectors = 16;

// The node's first 16 sectors.
using NodeFront = std::span<const u8, kFrontSectors * kSectorBytes>;

struct Format {
  const char* className;  // of its parser
  const char* title;      // what people call it
  u32 parserId;
  // Looks at the front of the node only, so that a child which starts where its parent starts
  // would match again.
  bool looksAtFront;
  bool (*probe)(Scan& scan, const cPartTreeItem& node, NodeFront front);
  cPartParser* (*makeParser)();
  ParseFunction parse;
};

template <typename Parser>
cPartParser* MakeParser() {
  return new Parser;
}

// Sector `index` of the front.
inline std::span<const u8> FrontSector(NodeFront front, size_t index) {
  return std::span<const u8>(front).subspan(index * kSectorBytes, kSectorBytes);
}

// Attaches the format's parser to the node and reads the node with it.
bool RunFormat(Scan& scan, cPartTreeItem& node, const Format& format);

}  // namespace larkspur
