// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The table of file systems, volumes and members: for each, where its magic bytes stand, what else
// must hold, and where label and identifier stand. content.cpp reads by it.

#include <span>
#include <string_view>

#include "partitions/node_bytes.h"
#include "partitions/notes.h"

namespace larkspur {

struct ContentField {
  enum class Form : u8 {
    kNone,
    kText,  // UTF-8 or ASCII
    kUtf16Le,
    kUuid,  // 16 bytes in their order
    kGuid,  // 16 bytes, three groups of them little-endian
    kHex,
    kSerial32,  // as DOS shows it: 0123-4567
    kSerial64,  // little-endian
    kBe64,
    kTwoWords,  // two u32, little-endian
    kVmfs,      // 16 bytes: two u32 and a u16, little-endian, and six bytes in their order
  };

  u32 offset = 0;  // from the structure
  u32 bytes = 0;
  Form form = Form::kNone;
};

struct ContentRow {
  // Some are known only on whole disks, and some lie so far inside that only what is said to hold
  // them is asked.
  enum class Where : u8 { kAnywhere, kWholeDisk, kVmfs };

  std::string_view name;
  i64 place;  // of the structure, in bytes; below 0 from the end
  u32 magicAt;
  std::string_view magic;
  bool (*guard)(NodeBytes& bytes) = nullptr;  // offsets count from the structure
  ContentField label = {};
  ContentField uuid = {};
  std::string_view version = {};
  void (*describe)(NodeBytes& bytes, ContentNote* note) = nullptr;
  Where where = Where::kAnywhere;
  u64 multiple = 1;  // of which a place from the end is one: rounded down
};

// In the order in which they are looked for: the first that fits counts.
std::span<const ContentRow> ContentRows();

}  // namespace larkspur
