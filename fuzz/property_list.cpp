// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Property lists: whatever the bytes are, each key of an Apple RAID header can be asked for as
// every kind of value, and has at most one kind.

#include "partitions/property_list.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace larkspur;
  const PropertyList list(std::span<const u8>(data, size));
  for (const char* key : {"AppleRAID-Members", "AppleRAID-LevelName", "AppleRAID-ChunkCount",
                          "AppleRAID-ChunkSize", "AppleRAID-MemberIndex", "AppleRAID-SetName"}) {
    const int kinds = int{list.Text(key).has_value()} + int{list.Number(key).has_value()} +
                      int{list.Texts(key).has_value()};
    if (kinds > (list.IsEmpty() ? 0 : 1)) std::abort();
  }
  return 0;
}
