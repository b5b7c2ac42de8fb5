// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/kvr_sparse_io.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "io/bit_map.h"
#include "io/flat_io.h"
#include "io/shared_file.h"
#include "platform/clock.h"

namespace larkspur {
namespace {

// Sectors of the empty index written at once.
constexpr u32 kIndexChunkSectors = 2048;

constexpr u32 kSparseGeometry[3] = {kSectorBytes, 1, 1};

cNestedIOResource* AsNested(const cBaseIoResource* resource) {
  if (!resource || resource->GetKind() != kResourceNestedIO) return nullptr;
  auto* nested = const_cast<cNestedIOResource*>(static_cast<const cNestedIOResource*>(resource));
  return nested->IO() ? nested : nullptr;
}

bool WriteEmptyIndex(cBaseIO* backing, u64 sectors) {
  const u32 chunk = static_cast<u32>(std::min<u64>(sectors, kIndexChunkSectors));
  const std::unique_ptr<u8[]> ones(new (std::nothrow) u8[u64{chunk} * kSectorBytes]);
  if (!ones) return false;
  std::memset(ones.get(), 0xFF, u64{chunk} * kSectorBytes);
  for (u64 done = 0; done < sectors;) {
    const u32 count = static_cast<u32>(std::min<u64>(chunk, sectors - done));
    if (backing->Write(1 + done, ones.get(), count) != count) return false;
    done += count;
  }
  return true;
}

// The file below an image; none for storages of other classes.
cFlatIO* AsFile(cBaseIO* backing) {
  return backing->GetTypeId() == kTypeFlat ? static_cast<cFlatIO*>(backing) : nullptr;
}

std::shared_ptr<SharedFile> ShareBacking(cBaseIO* backing) {
  cFlatIO* const file = AsFile(backing);
  return ShareFile(file ? file->Identity() : std::nullopt);
}

}  // namespace

cBaseIO* cKVRSparseIO::Clone() {
  Owned<cKVRSparseIO> clone(new (std::nothrow) cKVRSparseIO);
  if (!clone || !clone->Open(&m_resource, m_readOnly)) return nullptr;
  clone->m_file = m_file;  // also where the storage below has no identity
  if (m_parent && !clone->AttachParent(m_parent.get(), true)) return nullptr;
  return clone.release();
}

bool cKVRSparseIO::IsSameAs(cBaseIO* other) {
  if (!other || other->GetTypeId() != GetTypeId()) return false;
  cKVRSparseIO* image = static_cast<cKVRSparseIO*>(other);
  if (!IsOpen() || !image->IsOpen()) return false;
  if ((m_parent == nullptr) != (image->m_parent == nullptr)) return false;
  if (m_parent && !m_parent->IsSameAs(image->m_parent.get())) return false;
  return m_layout.stamp == image->m_layout.stamp;
}

void cKVRSparseIO::InitState() {
  m_backing = nullptr;
  m_position = 0;
  m_layout = {};
  m_complete.Forget();
  m_file.reset();
  m_roomFirst = m_roomEnd = 0;
}

void cKVRSparseIO::Close() {
  if (m_backing) m_backing->Close();
  m_resource.Clear();
  InitState();
}

bool cKVRSparseIO::SetReadOnly(bool readOnly) {
  if (readOnly == m_readOnly) return true;
  if (!m_backing || !m_backing->SetReadOnly(readOnly)) return false;
  m_readOnly = readOnly;
  return true;
}

bool cKVRSparseIO::Open(const cBaseIoResource* resource, bool readOnly) {
  const cNestedIOResource* nested = AsNested(resource);
  if (nested == &m_resource) return false;
  Close();
  if (!nested || !m_resource.Assign(*nested) || !m_resource.IO()) return false;
  cBaseIO* backing = m_resource.IO();
  m_readOnly = readOnly;
  m_name.Assign(backing->GetName());
  m_path = backing->Path();
  std::array<u8, kSparseHeaderBytes> header;
  if ((!readOnly && backing->IsReadOnly()) ||
      !backing->ReadBytes(header.data(), 0, kSparseHeaderBytes)) {
    m_resource.Clear();
    return false;
  }
  const std::optional<SparseLayout> layout = SparseLayout::Parse(header);
  if (layout) m_file = ShareBacking(backing);
  if (!m_file) {
    m_resource.Clear();
    return false;
  }
  m_layout = *layout;
  m_backing = backing;
  return true;
}

u64 cKVRSparseIO::Create(const cBaseIoResource* resource, u64 sectorCount, bool openAfter) {
  cNestedIOResource* nested = AsNested(resource);
  const auto layout = SparseLayout::ForNew(sectorCount, platform::TickCount());
  if (!nested || !layout) return 0;
  cBaseIO* backing = nested->IO();
  const u64 start = layout->DataStart();
  if (!backing->SetSectorCount(start) && backing->GetSectorCount() < start) return 0;
  if (!WriteEmptyIndex(backing, layout->IndexSectors())) return 0;
  // Last: a file whose index is not whole is no image, or blocks would share the records that its
  // zeros name.
  const auto header = layout->Header();
  if (!backing->WriteBytes(header.data(), 0, kSparseHeaderBytes)) return 0;
  if (openAfter) Open(resource, false);
  return sectorCount;
}

u64 cKVRSparseIO::SetPosition(u64 sector) {
  cSafeCriticalSectionAccess access(&m_section);
  m_position = std::min(sector, m_layout.sectorCount);
  return m_position;
}

void* cKVRSparseIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cKVRSparseIO::GetGeometry(u32* three) {
  std::copy(std::begin(kSparseGeometry), std::end(kSparseGeometry), three);
  return true;
}

bool cKVRSparseIO::GetDescription(char16_t* buffer, i32 capacity) {
  return CopyText(m_path.View(), buffer, capacity);
}

void cKVRSparseIO::RegisterPath() {
  if (!m_readOnly) FindPathLock(m_path.View());
}

bool cKVRSparseIO::ReadIndex(u64 firstBlock, u32 count, u8* bytes) {
  cSafeCriticalSectionAccess file(&m_file->section);
  return m_backing->ReadBytes(bytes, SparseLayout::IndexByte(firstBlock), 4 * count);
}

u32 cKVRSparseIO::LoadIndex(u64 firstBlock, u64 count) {
  const u32 loaded = static_cast<u32>(std::min<u64>(count, kWindowBlocks));
  u8 bytes[4 * kWindowBlocks];
  const bool read = ReadIndex(firstBlock, loaded, bytes);
  for (u32 i = 0; i < loaded; ++i) {
    // Where part of it is out of reach, each entry stands for itself.
    const bool known = read || ReadIndex(firstBlock + i, 1, bytes + 4 * i);
    m_window[i] = known ? LoadLe32(bytes + 4 * i) : kNowhere;
  }
  return loaded;
}

bool cKVRSparseIO::LoadMap(Entry record) {
  cSafeCriticalSectionAccess file(&m_file->section);
  return m_backing->ReadBytes(m_map.data(), m_layout.RecordSector(record) << kSectorShift,
                              m_layout.blockSize);
}

bool cKVRSparseIO::StoreMap(Entry record) {
  return m_backing->WriteBytes(m_map.data(), m_layout.RecordSector(record) << kSectorShift,
                               m_layout.blockSize);
}

u32 cKVRSparseIO::Read(void* buffer, u32 count, cBitMap* presence) {
  return ReadRange(static_cast<u8*>(buffer), count, presence, Absent::kZeros);
}

u32 cKVRSparseIO::ReadStored(void* buffer, u32 count, cBitMap* presence) {
  return ReadRange(static_cast<u8*>(buffer), count, presence, Absent::kUntouched);
}

u32 cKVRSparseIO::ReadRange(u8* buffer, u32 count, cBitMap* presence, Absent absent) {
  if (!IsOpen()) return 0;
  cSafeCriticalSectionAccess access(&m_section);
  const u64 first = m_position;
  count = static_cast<u32>(std::min<u64>(count, m_layout.sectorCount - first));
  if (count == 0) return 0;
  RegisterPath();
  // Loaded once: what another thread adds in between must be seen by the next call.
  const u64 demotions = m_file->demotions;
  if (m_seenDemotions != demotions) m_complete.Forget();
  m_seenDemotions = demotions;
  const u64 lastBlock = (first + count - 1) / m_layout.blockSize;
  u64 windowFirst = 0;
  u32 windowCount = 0;
  for (u32 done = 0; done < count;) {
    Chunk chunk = ChunkAt(first + done, count - done);
    chunk.record = m_complete.Find(chunk.block);
    const bool isComplete = chunk.record != kNowhere;
    if (!isComplete && chunk.block >= windowFirst + windowCount) {
      windowFirst = chunk.block;
      windowCount = LoadIndex(windowFirst, lastBlock - windowFirst + 1);
    }
    if (!isComplete) chunk.record = m_window[chunk.block - windowFirst];
    u8* out = buffer + u64{done} * kSectorBytes;
    const u32 got = isComplete ? ReadComplete(chunk, out, done, presence)
                               : ReadChunk(chunk, out, done, presence, absent);
    m_position += got;
    done += got;
    if (got < chunk.count) return done;
  }
  return count;
}

cKVRSparseIO::Chunk cKVRSparseIO::ChunkAt(u64 sector, u64 remaining) const {
  const u32 first = static_cast<u32>(sector % m_layout.blockSize);
  return {sector / m_layout.blockSize, kNoRecord, first,
          static_cast<u32>(std::min<u64>(m_layout.blockSize - first, remaining))};
}

u32 cKVRSparseIO::ReadData(const Chunk& chunk, u8* buffer) {
  const u64 sector = m_layout.RecordSector(chunk.record) + 1 + chunk.first;
  const u32 bytes = chunk.count * kSectorBytes;
  // By bytes first: a writable file is asked its size whenever a sector position is set.
  if (m_backing->ReadBytes(buffer, sector << kSectorShift, bytes)) return chunk.count;
  m_backing->SetPosition(sector);
  return m_backing->Read(buffer, chunk.count, nullptr);
}

u32 cKVRSparseIO::ReadComplete(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence) {
  if (presence) presence->SetRange(bit, chunk.count, true);
  return ReadData(chunk, buffer);
}

u32 cKVRSparseIO::ReadChunk(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence,
                            Absent absent) {
  if (chunk.record == kNoRecord) return ReadAbsent(chunk, buffer, bit, presence, absent);
  if (chunk.record == kNowhere || !LoadMap(chunk.record)) {
    return absent == Absent::kZeros ? ReadAbsent(chunk, buffer, bit, presence, absent) : 0;
  }
  if (!std::memchr(m_map.data(), kMissing, m_layout.SectorsInBlock(chunk.block))) {
    m_complete.Remember(chunk.block, chunk.record);
    return ReadComplete(chunk, buffer, bit, presence);
  }
  const u32 got = ReadData(chunk, buffer);
  if (!presence) return got;
  const u8* status = &m_map[chunk.first];
  for (u32 i = 0; i < chunk.count;) {
    const u32 run = EqualRun(status + i, chunk.count - i, [](u8 byte) { return byte != kMissing; });
    presence->SetRange(bit + i, run, status[i] != kMissing);
    i += run;
  }
  return got;
}

u32 cKVRSparseIO::ReadAbsent(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence,
                             Absent absent) {
  if (m_parent) {
    m_parent->SetPosition(chunk.block * m_layout.blockSize + chunk.first);
    cSubBitMap view(presence, bit, chunk.count);
    return m_parent->Read(buffer, chunk.count, presence ? &view : nullptr);
  }
  if (presence) presence->SetRange(bit, chunk.count, false);
  if (absent == Absent::kZeros) std::memset(buffer, 0, u64{chunk.count} * kSectorBytes);
  return chunk.count;
}

bool cSparseIO::AttachParent(cBaseIO* io, bool takeCopy) {
  if (io && io == m_parent.get()) return true;
  m_parent.reset();
  if (!io) return true;
  m_parent.reset(takeCopy ? io->Clone() : io);
  return m_parent != nullptr;
}

}  // namespace larkspur
