// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cKVRSparseIO: a disk image inside another storage, in which a block gets room only when something
// is first written to it, and every sector carries a status: missing, present, unreadable. The
// format is in io/sparse_layout.h and docs/image-format.md.
//
// What makes a crash harmless is the order of writes: the file grows, then the index names the new
// record (its map reads as zeros: all missing), then data is written, then the map says so.
//
// Any thread may call: SetPosition, Read, Write and VisitExtents hold the object's lock. Objects on
// the same file do not lock against each other, so no map or index entry is kept between calls but
// those of complete blocks: each sees what the others wrote. Opens from a cNestedIOResource.

#include <array>
#include <functional>

#include "base/critical_section.h"
#include "io/complete_blocks.h"
#include "io/nested_io_resource.h"
#include "io/sparse_io.h"
#include "io/sparse_layout.h"

namespace larkspur {

class cKVRSparseIO final : public cSparseIO {
 public:
  cKVRSparseIO() = default;
  ~cKVRSparseIO() = default;

  // With the parent attached as a copy, too.
  cBaseIO* Clone() override;
  // Both are images with the same stamp and the same parent; paths are not compared.
  bool IsSameAs(cBaseIO* other) override;
  void InitState() override;
  void Close() override;
  bool SetReadOnly(bool readOnly) override;
  // Keeps a clone of the resource's I/O object, so the caller's stays untouched.
  bool Open(const cBaseIoResource* resource, bool readOnly) override;
  // Lays a new, empty image of `sectorCount` sectors on the resource's I/O object.
  u64 Create(const cBaseIoResource* resource, u64 sectorCount, bool openAfter) override;
  u64 SetPosition(u64 sector) override;
  // Missing sectors read as the parent's, or as zeros; unreadable ones count as present.
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  // A sector marked unreadable stays so.
  u32 Write(u64 sector, const void* buffer, u32 count) override;
  u64 GetSectorCount() override { return m_layout.sectorCount; }
  u32 GetTypeId() override { return kTypeKVRSparse; }
  u32 GetResourceKind() override { return kResourceNestedIO; }
  void* Destroy(u32 flags) override;
  bool GetGeometry(u32* three) override;
  bool GetDescription(char16_t* buffer, i32 capacity) override;

  // Read for a caller who fetches the rest himself: the buffer keeps what it held where nothing is
  // stored, which saves filling it with zeros.
  u32 ReadStored(void* buffer, u32 count, cBitMap* presence);

  // Records that the source could not deliver that sector. Takes no lock: its caller holds its own.
  bool MarkSectorBad(u64 sector);

  // Calls visit(start, sectors, status) for the neighbouring runs of equal status that make up
  // [first, first+count), cut at the image's end, until it answers false. A block whose index entry
  // or map cannot be read counts as missing. False when it was ended by `visit`, which may use
  // other objects on the same file, but not this one.
  using ExtentVisitor = std::function<bool(u64 start, u64 sectors, SectorStatus status)>;
  bool VisitExtents(u64 first, u64 count, const ExtentVisitor& visit);

  // What the whole index says: how many blocks have a record, and the highest record number plus 1.
  struct IndexSurvey {
    u64 records = 0;
    u64 recordEnd = 0;
  };
  IndexSurvey SurveyIndex();

  const SparseLayout& Layout() const { return m_layout; }

 private:
  // An index entry as it was read: a record number, kNoRecord, or kNowhere when reading failed.
  using Entry = u64;
  struct Chunk;

  // Index entries loaded at once: those of 64 MiB of image, one page of the file.
  static constexpr u32 kWindowBlocks = 1024;
  // And those read at once when the whole index is looked through.
  static constexpr u32 kScanBlocks = 65536;

  bool IsOpen() const { return m_backing != nullptr; }
  void RegisterPath();

  // Loads the entries of [firstBlock, firstBlock+count) into the window; count is at most
  // kWindowBlocks. Answers how many that were.
  u32 LoadIndex(u64 firstBlock, u64 count);
  // Calls call(block, record) for the blocks of [block, end) that have a record, in order, until it
  // answers false; then the answer is false, too. The loaded window is lost, the map is the call's.
  bool ScanIndex(u64 block, u64 end, const std::function<bool(u64, Entry)>& call);
  bool LoadMap(Entry record);
  bool StoreMap(Entry record);

  // Gives records to the `count` blocks from firstBlock on, which have none, and puts them into the
  // window from item `at` on. Answers how many got one: all, fewer when the file cannot grow as
  // far, 0 on failure.
  u32 AppendRecords(u64 firstBlock, u32 at, u32 count);
  // The sector where the next record begins; kNowhere when the file ends within its index.
  u64 GrowthSector();
  Entry EnsureRecord(u64 block);

  // The part of [sector, sector+remaining) that lies in the first block.
  Chunk ChunkAt(u64 sector, u32 remaining) const;
  enum class Absent { kZeros, kUntouched };
  u32 ReadRange(u8* buffer, u32 count, cBitMap* presence, Absent absent);
  // These read a chunk whose first bit in `presence` is `bit`.
  u32 ReadChunk(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence, Absent absent);
  u32 ReadComplete(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence);
  u32 ReadAbsent(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence, Absent absent);
  u32 ReadData(const Chunk& chunk, u8* buffer);
  u32 WriteChunk(const Chunk& chunk, const u8* buffer, bool isNew);

  cBaseIO* m_backing = nullptr;  // the resource's object
  u64 m_position = 0;
  cNestedIOResource m_resource;
  cCriticalSection m_section;
  SparseLayout m_layout;
  std::array<u8, kMaxSparseBlock> m_map;      // the status map last loaded, blockSize bytes
  std::array<Entry, kWindowBlocks> m_window;  // the index entries last loaded
  CompleteBlocks m_complete;
};

}  // namespace larkspur
