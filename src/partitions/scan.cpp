// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/scan.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "io/base_io.h"
#include "partitions/detection.h"

namespace larkspur {
namespace {

// 8 MiB; more is forgotten and, should it be needed again, read again.
constexpr size_t kMaxKeptSectors = 16384;
// Longer runs are metadata areas that a parser keeps itself.
constexpr u32 kMaxKeptRun = 256;
// A table with more holes than this lies in an area that is better left alone.
constexpr u32 kMaxGaps = 8;

u32 Depth(const cPartTreeItem& node) {
  u32 depth = 0;
  for (const cPartTreeItem* item = node.Parent(); item; item = item->Parent()) ++depth;
  return depth;
}

}  // namespace

Scan::Scan(cBaseIO* io, ScanTrace* trace)
    : m_io(io), m_trace(trace), m_sectorCount(io ? io->GetSectorCount() : 0) {}

u32 Scan::Read(u64 sector, u32 count, u8* buffer) {
  if (sector >= m_sectorCount || count > m_sectorsLeft) return 0;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - sector));
  m_sectorsLeft -= count;
  u32 done = 0;
  while (done < count) {
    u8* to = buffer + size_t{done} * kSectorBytes;
    if (const auto kept = m_kept.find(sector + done); kept != m_kept.end()) {
      std::memcpy(to, kept->second.data(), kSectorBytes);
      ++done;
      continue;
    }
    const u32 run = UnknownRun(sector + done, count - done);
    if (run == 0) break;  // it failed before
    const u32 got = ReadUnknown(sector + done, run, to);
    done += got;
    if (got < run) break;
  }
  return done;
}

u32 Scan::ReadAround(u64 sector, u32 count, u8* buffer) {
  std::fill_n(buffer, size_t{count} * kSectorBytes, u8{0});
  if (sector >= m_sectorCount) return 0;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - sector));
  u32 came = 0;
  u32 at = 0;
  for (u32 gaps = 0; at < count && gaps < kMaxGaps; ++gaps) {
    const u32 got = Read(sector + at, count - at, buffer + size_t{at} * kSectorBytes);
    came += got;
    at += got + 1;  // behind the sector that did not come
  }
  return came;
}

u32 Scan::UnknownRun(u64 sector, u32 count) const {
  u32 run = 0;
  while (run < count && !m_kept.contains(sector + run) && !m_failed.contains(sector + run)) ++run;
  return run;
}

u32 Scan::ReadUnknown(u64 sector, u32 count, u8* buffer) {
  u32 got = m_io->SetPosition(sector) == sector ? m_io->Read(buffer, count) : 0;
  got = std::min(got, count);
  if (m_trace) m_trace->push_back({sector, count, got, m_asker});
  if (got < count) m_failed.insert(sector + got);
  if (count <= kMaxKeptRun) Keep(sector, got, buffer);
  return got;
}

void Scan::Keep(u64 sector, u32 count, const u8* bytes) {
  if (m_kept.size() + count > kMaxKeptSectors) m_kept.clear();
  for (u32 i = 0; i < count; ++i) {
    std::memcpy(m_kept[sector + i].data(), bytes + size_t{i} * kSectorBytes, kSectorBytes);
  }
}

cPartTreeItem* Scan::AddChild(cPartTreeItem& parent, u64 start, u64 length, u16 type) {
  if (length == 0 || start > std::numeric_limits<u64>::max() - length) return nullptr;
  return AddEntry(parent, start, length, length, type);
}

cPartTreeItem* Scan::AddEntry(cPartTreeItem& parent, u64 start, u64 length, u64 tableLength,
                              u16 type) {
  if (m_nodes == kMaxNodes) return nullptr;
  ++m_nodes;
  cTreeItem*& newest = m_newestChild[&parent];
  auto* child = new cScannedItem(tableLength);
  SetNode(*child, parent.m_io, start, length, type);
  AppendChild(&parent, child, newest);
  newest = child;
  return child;
}

u64 Scan::TableLength(const cPartTreeItem& node) const {
  return &node == m_top ? node.m_length : static_cast<const cScannedItem&>(node).m_tableLength;
}

bool Scan::Detect(cPartTreeItem& node, const cPartTreeItem& above) {
  if (Depth(node) >= kMaxDepth) return false;
  return DetectContents(*this, node, node.m_start > above.m_start);
}

void Scan::AddAndDetect(cPartTreeItem& parent, u64 start, u64 length, u16 type) {
  if (cPartTreeItem* child = AddChild(parent, start, length, type)) Detect(*child, parent);
}

u32 Scan::BytesPerSector() {
  u32 geometry[3] = {};
  const bool known = m_io && m_io->GetGeometry(geometry);
  return known && geometry[0] >= kSectorBytes ? geometry[0] : u32{kSectorBytes};
}

}  // namespace larkspur
