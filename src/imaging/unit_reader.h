// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading bytes of what takes requests of whole units only: sectors of a drive, blocks of a file
// past the system's cache.

#include <functional>

#include "platform/pages.h"

namespace larkspur {

class UnitReader {
 public:
  // One transfer of whole units from byte `offset` on to a page's start: the bytes that came, fewer
  // with the system's error in platform::LastFailure().
  using Transfer = std::function<u32(u8* into, u32 length, u64 offset)>;

  // Makes room for requests of up to `mostBytes` in units of up to `largestUnit` bytes; false
  // without memory.
  bool Allocate(u32 mostBytes, u32 largestUnit);

  // Reads [offset, offset+length) by the units around it: the bytes that came. What comes short
  // without an error, as a read may, is no failure: the rest is asked for, as long as any comes.
  // `buffer` is a page's start.
  u32 Read(u64 offset, u8* buffer, u32 length, u32 unit, const Transfer& transfer);

 private:
  u32 ReadOnce(u64 offset, u8* buffer, u32 length, u32 unit, const Transfer& transfer);

  platform::OwnedPages m_room;  // for requests that fit no units or begin within a page
};

}  // namespace larkspur
