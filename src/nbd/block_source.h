// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the clients of an NBD server read, wherever it comes from: a cache alone, or a failing disk
// through its cache. Any thread may call; several may at a time.

#include <memory>
#include <string>

#include "io/sparse_layout.h"

namespace larkspur {

class BlockSource {
 public:
  virtual ~BlockSource() = default;

  virtual u64 Sectors() const = 0;

  // Reads [first, first+count) into `out`, and into `statuses`, one for each sector, what became of
  // them: only those of present ones are data, the others' bytes are undefined. False when the
  // storage itself failed. REQUIRES: the range lies inside the storage.
  virtual bool Fetch(u64 first, u32 count, u8* out, SectorStatus* statuses) = 0;

  // A client has connected: a source that was lost may be there again.
  virtual void ClientCame() {}

  // Asks no disk for anything more, and answers when all that was read is flushed to disk; clients
  // still get what is there. To be called once.
  virtual void End() {}
};

// A cache as it is: nothing is asked of any disk, and zeros that a power cut may have left count as
// missing. Null when it cannot be opened as one.
std::unique_ptr<BlockSource> OpenCachedBlocks(const std::u16string& cache);

}  // namespace larkspur
