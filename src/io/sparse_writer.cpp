// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/sparse_writer.h"

#include <algorithm>
#include <cstring>

#include "base/byte_runs.h"
#include "base/endian.h"

namespace larkspur {
namespace {

constexpr u64 kPageBytes = 4096;

}  // namespace

bool WriteSkippingZeros(platform::FileHandle file, const u8* bytes, u64 count, u64 offset) {
  u64 unwritten = 0;
  const auto write = [&](u64 end) {
    const u32 length = static_cast<u32>(end - unwritten);
    return length == 0 ||
           platform::WriteFileAt(file, bytes + unwritten, length, offset + unwritten) == length;
  };
  for (u64 at = 0; at < count;) {
    const u64 end = std::min(count, at + kPageBytes - (offset + at) % kPageBytes);
    if (IsAllZero({bytes + at, end - at})) {
      if (!write(at)) return false;
      unwritten = end;
    }
    at = end;
  }
  return write(count);
}

SparseWriter::SparseWriter(platform::FileHandle file, const SparseLayout& layout)
    : m_file(file),
      m_layout(layout),
      m_records(new u8[u64{kBufferedRecords} * layout.RecordSectors() * kSectorBytes]),
      m_index(new u8[4 * kIndexBlocks]) {
  std::memset(m_index.get(), 0xFF, 4 * kIndexBlocks);
}

u8* SparseWriter::AddRecord(u64 block) {
  if (m_buffered == kBufferedRecords && !WriteRecords()) return nullptr;
  if (!MoveIndexTo(block)) return nullptr;
  const u64 record = m_written + m_buffered;
  StoreLe32(m_index.get() + 4 * (block - m_indexFirst), static_cast<u32>(record));
  return m_records.get() + u64{m_buffered++} * m_layout.RecordSectors() * kSectorBytes;
}

bool SparseWriter::Finish() {
  if (!WriteRecords() || !MoveIndexTo(m_layout.BlockCount() - 1) || !WriteIndex()) return false;
  if (!platform::SetFileSize(m_file, m_layout.RecordSector(m_written) << kSectorShift)) {
    return false;
  }
  const auto header = m_layout.Header();
  return platform::WriteFileAt(m_file, header.data(), kSparseHeaderBytes, 0) == kSparseHeaderBytes;
}

bool SparseWriter::WriteRecords() {
  const u64 bytes = u64{m_buffered} * m_layout.RecordSectors() * kSectorBytes;
  const u64 offset = m_layout.RecordSector(m_written) << kSectorShift;
  m_written += m_buffered;
  m_buffered = 0;
  return WriteSkippingZeros(m_file, m_records.get(), bytes, offset);
}

bool SparseWriter::MoveIndexTo(u64 block) {
  for (; block - m_indexFirst >= kIndexBlocks; m_indexFirst += kIndexBlocks) {
    if (!WriteIndex()) return false;
    std::memset(m_index.get(), 0xFF, 4 * kIndexBlocks);
  }
  return true;
}

bool SparseWriter::WriteIndex() {
  // To the end of its last sector: what lies past the last block is filled like the rest.
  const u64 start = SparseLayout::IndexByte(m_indexFirst);
  const u64 end = std::min(start + 4 * kIndexBlocks, m_layout.DataStart() << kSectorShift);
  return WriteSkippingZeros(m_file, m_index.get(), end - start, start);
}

}  // namespace larkspur
