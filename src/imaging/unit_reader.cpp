// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/unit_reader.h"

#include <algorithm>
#include <cstring>

#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr u32 kPageBytes = 4096;

}  // namespace

bool UnitReader::Allocate(u32 mostBytes, u32 largestUnit) {
  return m_room.Allocate(mostBytes + 2 * largestUnit);
}

u32 UnitReader::Read(u64 offset, u8* buffer, u32 length, u32 unit, const Transfer& transfer) {
  u32 done = 0;
  while (done < length) {
    platform::SetLastFailure(0);
    const u32 got = ReadOnce(offset + done, buffer + done, length - done, unit, transfer);
    done += got;
    if (got == 0 || platform::LastFailure() != 0) break;
  }
  return done;
}

u32 UnitReader::ReadOnce(u64 offset, u8* buffer, u32 length, u32 unit, const Transfer& transfer) {
  const u64 first = offset / unit * unit;
  const u32 before = static_cast<u32>(offset - first);
  const u32 around = (before + length + unit - 1) / unit * unit;
  const bool isAtPage = reinterpret_cast<std::uintptr_t>(buffer) % kPageBytes == 0;
  if (around == length && isAtPage) return std::min(transfer(buffer, length, first), length);
  const u32 got = transfer(m_room.Data(), around, first);
  const u32 delivered = std::min(got - std::min(got, before), length);
  std::memcpy(buffer, m_room.Data() + before, delivered);
  return delivered;
}

}  // namespace larkspur
