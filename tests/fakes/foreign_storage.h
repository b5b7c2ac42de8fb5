// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A storage as another compiler lays it out: a table of plain functions before its data, and after
// it nothing that is ours. It has no scratch buffer, no name member, no path. Byte 0 of sector n is
// n's low byte.

#include <memory>
#include <string>

#include "io/base_io.h"

namespace larkspur::fakes {

class ForeignStorage {
 public:
  explicit ForeignStorage(u64 sectors);
  ForeignStorage(const ForeignStorage&) = delete;
  ForeignStorage& operator=(const ForeignStorage&) = delete;
  ~ForeignStorage();

  cBaseIO* IO() const;
  int Alive() const;       // this one and the clones that were not destroyed
  int Unexpected() const;  // calls of slots that nothing has a reason to use

  // What the operations answer; for clones, too.
  bool clones = true;
  bool describes = true;
  u32 typeId = 0x5555;
  const char16_t* name = u"Foreign";
  std::u16string description = u"Foreign";

 private:
  struct Object;
  struct Table;
  static const Table kTable;

  u64 m_sectors;
  int m_alive = 0;
  int m_unexpected = 0;
  Object* m_object;
};

}  // namespace larkspur::fakes
