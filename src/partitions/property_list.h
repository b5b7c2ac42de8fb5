// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Property lists as a Mac's kernel writes them into the headers of its RAID members: XML without a
// declaration, whose outermost element is a dictionary.
//
//   <dict ID="0"><key>Size</key><integer size="32" ID="1">0x8000</integer>
//   <key>Members</key><array ID="2"><string ID="3">A</string><reference IDREF="3"/></array></dict>
//
// Values that occur again are references to the first; they are resolved.

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/types.h"

namespace larkspur {

class PropertyList {
 public:
  // A header has less than 4096 bytes, with some dozens of elements. The parser recurses, and their
  // number bounds how deep.
  static constexpr size_t kMaxBytes = 4096;
  static constexpr size_t kMaxElements = 256;

  // Reads the list up to the first zero byte or the end of `bytes`. What is too large, is not
  // well-formed, or holds markup that no kernel writes (comments, document types, raw text) gives
  // an empty list.
  explicit PropertyList(std::span<const u8> bytes);
  ~PropertyList();
  PropertyList(const PropertyList&) = delete;
  PropertyList& operator=(const PropertyList&) = delete;

  bool IsEmpty() const { return !m_document; }

  // Values of the outermost dictionary; nothing when there is none of that key and kind.
  std::optional<std::string> Text(std::string_view key) const;
  std::optional<u64> Number(std::string_view key) const;
  // The texts in an array, others left out.
  std::optional<std::vector<std::string>> Texts(std::string_view key) const;

 private:
  struct Document;
  std::unique_ptr<Document> m_document;
};

}  // namespace larkspur
