// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// SparseWriter: writes a whole new sparse image front to back, for callers that know every sector's
// status beforehand. The header comes last, so a file that was not finished is no image. Runs of
// zeros stay holes of the file. One thread at a time.

#include <memory>

#include "io/sparse_layout.h"
#include "platform/file.h"

namespace larkspur {

// Writes [bytes, bytes+count) to `file` at `offset` but for its zero pages, which stay what they
// are: holes, in a file that was empty. False when the system refused, and it says why.
bool WriteSkippingZeros(platform::FileHandle file, const u8* bytes, u64 count, u64 offset);

class SparseWriter {
 public:
  // `file` is empty, open for writing, and outlives the writer.
  SparseWriter(platform::FileHandle file, const SparseLayout& layout);

  // Room for the record of `block`, for the caller to fill before the next call: a sector whose
  // first bytes are the statuses of the block's sectors, then those sectors. Its bytes are whatever
  // they were. Null when writing failed, and the system says why.
  // REQUIRES: `block` is above the ones before, and below the layout's count.
  u8* AddRecord(u64 block);

  // Writes what is left. False when writing failed.
  bool Finish();

 private:
  static constexpr u32 kBufferedRecords = 2;  // what a processor's cache holds
  static constexpr u32 kIndexBlocks = 65536;  // index entries that are written at once

  bool WriteRecords();
  // Writes the index up to the part that has `block`, which then is in m_index.
  bool MoveIndexTo(u64 block);
  bool WriteIndex();

  platform::FileHandle m_file;
  const SparseLayout m_layout;
  std::unique_ptr<u8[]> m_records;
  u32 m_buffered = 0;
  u64 m_written = 0;  // records
  std::unique_ptr<u8[]> m_index;
  u64 m_indexFirst = 0;  // the first block in m_index
};

}  // namespace larkspur
