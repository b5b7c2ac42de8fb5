// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where the engine keeps what it read: a cache, by what the engine needs of one.

#include <functional>
#include <optional>

#include "io/sector_range.h"
#include "io/status_counts.h"

namespace larkspur {

// One thread at a time. Failures leave platform::LastFailure().
class RescueStore {
 public:
  using ExtentVisitor = std::function<bool(u64 start, u64 sectors, SectorStatus status)>;

  virtual ~RescueStore() = default;

  virtual u64 Sectors() const = 0;
  // Calls visit for the runs of equal status that make up [first, first+count) until it answers
  // false. False when some of the store cannot be read: nothing is known of those sectors then.
  virtual bool Visit(SectorRange range, const ExtentVisitor& visit) = 0;
  // Makes sure that what is stored in `range` from now on will find room.
  virtual bool MakeRoom(SectorRange range) = 0;
  // Keeps sectors that were read; they are present afterwards. An unreadable one stays unreadable,
  // unless `evenUnreadable`.
  virtual bool Store(u64 first, const u8* data, u32 count, bool evenUnreadable) = 0;
  virtual bool MarkUnreadable(SectorRange range) = 0;
  // Copies what is stored; sectors that are not present are left as they are.
  virtual bool Load(u64 first, u8* data, u32 count) = 0;
  // Flushes everything to disk.
  virtual bool Sync() = 0;
  // Begins to flush what was stored so far, and waits for none of it: the disk of the store writes
  // while the source is read, and Sync finds little left to do.
  virtual void BeginFlush() {}

  // Counts the statuses in `range`; nothing where some of the store cannot be read.
  std::optional<StatusCounts> Count(SectorRange range) {
    StatusCounts counts;
    const bool isReadable = Visit(range, [&](u64, u64 sectors, SectorStatus status) {
      counts.Add(status, sectors);
      return true;
    });
    return isReadable ? std::optional(counts) : std::nullopt;
  }
};

}  // namespace larkspur
