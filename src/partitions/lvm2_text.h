// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The text in which LVM2 keeps a volume group:
//
//   item  := name "{" { item } "}"  |  name "=" value
//   value := scalar  |  "[" { scalar [","] } "]"
//   scalar := integer | fraction | "text" | 'text' | word
//
// with white space and "# comments" between tokens; a NUL ends it. In double quotes a backslash
// takes the next character as it is. Of two values with one name the later counts, and a repeated
// section continues with the first.

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/types.h"

namespace larkspur {

// A text that was read. It does not move: what it answers with points into it.
class Lvm2Text {
 public:
  // A volume group's text is nested four deep.
  static constexpr u32 kMaxNesting = 16;
  // Twenty for each of some six thousand volumes.
  static constexpr u32 kMaxItems = 1 << 17;

  using Section = u32;
  static constexpr Section kRoot = 0;

  // At most `maxItems` are filed.
  explicit Lvm2Text(std::string text, u64 maxItems = kMaxItems);
  Lvm2Text(const Lvm2Text&) = delete;
  Lvm2Text& operator=(const Lvm2Text&) = delete;

  // Whether the whole text follows the grammar and the limits; else it is read up to the fault.
  bool IsValid() const { return m_valid; }
  u64 ItemCount() const { return m_items.size(); }
  // Whether it was left there for having more items than may be filed.
  bool IsTooLong() const { return !m_valid && ItemCount() >= m_maxItems; }

  // The sections in a section, in their order.
  struct Named {
    std::string_view name;
    Section section;
  };
  std::vector<Named> Sections(Section in) const;

  std::optional<Section> FindSection(Section in, std::string_view name) const;
  // Nothing when there is no such value, or it is of another kind.
  std::optional<u64> Number(Section in, std::string_view name) const;
  std::optional<std::string> Text(Section in, std::string_view name) const;

  // The scalars of a list; a single scalar is a list of one.
  struct Scalar {
    std::string_view text;
    std::optional<u64> number;  // where it is an integer that is not negative
  };
  std::vector<Scalar> List(Section in, std::string_view name) const;

 private:
  friend class Lvm2TextReader;

  static constexpr u32 kNone = ~u32{0};

  enum class Kind : u8 { kSection, kList, kText, kQuoted, kNumber };

  // Items lie in one row, so that ending a text does not recurse either.
  struct Item {
    Kind kind;
    std::string_view name;
    std::string_view value;
    u32 firstChild = kNone;
    u32 lastChild = kNone;
    u32 next = kNone;
  };

  const Item* FindItem(Section in, std::string_view name) const;
  static std::optional<u64> NumberOf(const Item& item);

  std::string m_text;
  u64 m_maxItems;
  std::deque<Item> m_items;
  std::map<std::pair<Section, std::string_view>, u32> m_index;
  bool m_valid = false;
};

}  // namespace larkspur
