// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// One line of a rescue log: a JSON object of plain values, and of objects of plain values. A log of
// a worn disk has millions of lines, so this reads without building a document.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur {

class JsonLine {
 public:
  // False when `line` is not such an object, or has more than kMaxFields values. Nothing is copied:
  // `line` outlives this.
  bool Parse(std::string_view line);

  // The value of `key`, those inside an object as "object.key"; none when there is none of that
  // type.
  std::optional<u64> Number(std::string_view key) const;  // whole and not below 0
  std::optional<double> Decimal(std::string_view key) const;
  std::optional<bool> Bool(std::string_view key) const;
  std::optional<std::string> Text(std::string_view key) const;

 private:
  static constexpr size_t kMaxFields = 32;

  struct Field {
    std::string_view object;  // that the key stands in; empty at the top
    std::string_view key;
    std::string_view value;  // as it is written, strings with their quotes
  };

  bool ParseObject(std::string_view* rest, std::string_view object);
  const Field* Find(std::string_view key) const;

  std::array<Field, kMaxFields> m_fields;
  size_t m_count = 0;
};

}  // namespace larkspur
