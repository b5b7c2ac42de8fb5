// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cPartParser: the record that says which format a node's contents have, and can read them again.

#include <new>

#include "base/owned.h"
#include "partitions/part_extension.h"
#include "partitions/part_tree_item.h"
#include "partitions/scan.h"

namespace larkspur {

enum ParserId : u32 {
  kParserMbr = 2,
  kParserApple = 3,
  kParserBSD = 4,
  kParserGPT = 5,
  kParserLVM = 6,
  kParserNW = 7,
  kParserNWNSS = 8,
  kParserNTLDM = 9,
  kParserSol = 10,
  kParserSnap = 11,
  kParserMDADM = 12,
  kParserXUnix = 13,
  kParserLUKS = 14,
  kParserIntelMatrix = 15,
  kParserAppRAID = 16,
  kParserAIXLVM = 17,
};

class cPartParser : public cPartExtension {
 public:
  cPartExtension* Clone() final { return nullptr; }
  void Reset() final {}
  u32 GetKind() final { return kKindParser; }

  virtual u32 GetParserId() = 0;  // slot 4
  // Reads the node through its I/O object, makes children and records, looks into every child, and
  // answers whether the contents were understood.
  // Without memory it answers false, and what was found stays.
  virtual bool Parse(cPartTreeItem& node) = 0;  // slot 5

 protected:
  cPartParser() = default;
  ~cPartParser() = default;

 private:
  [[maybe_unused]] u64 m_state = 0;
};

// Reads a node's contents as one format within a scan; the same answer as cPartParser::Parse.
using ParseFunction = bool (*)(Scan& scan, cPartTreeItem& node);

template <u32 kId, ParseFunction kParse>
class FormatParser : public cPartParser {
 public:
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  u32 GetParserId() final { return kId; }
  // A host calls this, and nothing may be thrown through it.
  bool Parse(cPartTreeItem& node) final {
    try {
      Scan scan(node);
      return kParse(scan, node);
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
};

// The parsers of four formats answer one question more.
template <u32 kId, ParseFunction kParse>
class FlaggedFormatParser final : public FormatParser<kId, kParse> {
 public:
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  virtual bool QueryFlag() { return false; }  // slot 6
};

}  // namespace larkspur
