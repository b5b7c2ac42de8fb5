// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Property lists: whatever the bytes are, each key of an Apple RAID header can be asked for as
// every kind of value, and has at most one kind.

#include "partitions/property_list.h"

#include <cstdlib>

#include "fuzz/targets.h"

namespace larkspur::fuzz {

std::string RunPropertyList(std::span<const u8> input) {
  const PropertyList list(input);
  std::string told;
  for (const char* key : {"AppleRAID-Members", "AppleRAID-LevelName", "AppleRAID-ChunkCount",
                          "AppleRAID-ChunkSize", "AppleRAID-MemberIndex", "AppleRAID-SetName"}) {
    const auto text = list.Text(key);
    const auto number = list.Number(key);
    const auto texts = list.Texts(key);
    const int kinds = int{text.has_value()} + int{number.has_value()} + int{texts.has_value()};
    if (kinds > (list.IsEmpty() ? 0 : 1)) std::abort();
    if (text) told += *text;
    if (number) told += std::to_string(*number);
    for (const std::string& each : texts.value_or(std::vector<std::string>())) told += each + ",";
    told += '|';
  }
  return told;
}

}  // namespace larkspur::fuzz
