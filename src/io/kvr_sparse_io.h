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
// Any thread may call, and images on one file may be used by as many threads as there are: whatever
// changes the file, or loads its index and maps, does so in the file's section (io/shared_file.h).
// Nothing is kept between calls but which blocks are complete, so each image sees what the others
// wrote. Opens from a cNestedIOResource.

#include <array>
#include <functional>

#include "base/critical_section.h"
#include "base/owned.h"
#include "io/base_io.h"
#include "io/complete_blocks.h"
#include "io/resource.h"
#include "io/shared_file.h"
#include "io/sparse_layout.h"

namespace larkspur {

// The base of storages that keep only what was written to them. Where they hold nothing, they may
// read through to a parent storage.
class cSparseIO : public cBaseIO {
 public:
  bool IsSparse() override { return true; }

  // Attaches `io` as the parent, replacing and destroying an earlier one: a clone of it, or with
  // takeCopy false the object itself, then owned. Null detaches. False when cloning failed; the
  // earlier parent is gone then, too.
  virtual bool AttachParent(cBaseIO* io, bool takeCopy);  // slot 25

 protected:
  cSparseIO() = default;
  ~cSparseIO() = default;

  Owned<cBaseIO> m_parent;
};

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
  // stored, which saves filling it with zeros; and the read ends, short, before a block whose index
  // entry or map cannot be read, since nothing is known of it.
  u32 ReadStored(void* buffer, u32 count, cBitMap* presence);

  // Records that the source could not deliver that sector, whatever the image has of it.
  bool MarkSectorBad(u64 sector);

  // What follows takes ranges [first, first+count), cut at the image's end. False when part of the
  // range could not be changed; what came before it was.

  // Gives every block of the range a record and has the file system set its room aside, so that
  // storing there does not fail for lack of room. One step of the index for up to kWindowBlocks new
  // blocks; cheap where the room was made before. False with a full disk as the last failure when
  // there is not enough for all; for a smaller range there may be.
  bool MakeRoom(u64 first, u64 count);
  // Missing sectors become unreadable; present ones stay.
  bool MarkUnreadable(u64 first, u64 count);
  // Present sectors become missing; unreadable ones stay.
  bool MarkMissing(u64 first, u64 count);
  // Write that makes sectors present also where they were unreadable, or had a status without
  // meaning; the sectors stored.
  u32 StoreOver(u64 sector, const void* buffer, u32 count);

  // Calls visit(start, sectors, status) for the neighbouring runs of equal status that make up
  // [first, first+count), cut at the image's end, until it answers false. Where an index entry or a
  // map cannot be read the status is kUnknown, where the map makes no sense kMeaningless. False
  // when it was ended by `visit`, which may use other objects on the same file, but not this one.
  using ExtentVisitor = std::function<bool(u64 start, u64 sectors, SectorStatus status)>;
  bool VisitExtents(u64 first, u64 count, const ExtentVisitor& visit);

  // What the whole index says. Takes up to 8 MiB while it looks.
  struct IndexSurvey {
    u64 records = 0;             // blocks that have a record
    u64 recordEnd = 0;           // the highest record number plus 1
    u64 unread = 0;              // entries that cannot be read
    std::optional<u64> sharing;  // a block whose record another block has, too: one's data is lost
  };
  IndexSurvey SurveyIndex();

  const SparseLayout& Layout() const { return m_layout; }

 private:
  // An index entry as it was read: a record number, kNoRecord, or kNowhere when reading failed.
  using Entry = u64;

  // The part of a transfer that lies in one block.
  struct Chunk {
    u64 block;
    Entry record;
    u32 first;  // sector within the block
    u32 count;
    bool isNew = false;  // it got its record just now
  };
  // What is done for blocks without a record on the way.
  enum class Lacking { kLeave, kAppend, kAppendWithRoom };
  // Answers how many sectors of the chunk, which begins `done` sectors into the range, were
  // settled.
  using ChunkWork = std::function<u32(const Chunk& chunk, u64 done)>;

  // Index entries loaded at once: those of 64 MiB of image, one page of the file.
  static constexpr u32 kWindowBlocks = 1024;
  // And those read at once when the whole index is looked through.
  static constexpr u32 kScanBlocks = 65536;

  bool IsOpen() const { return m_backing != nullptr; }
  void RegisterPath();

  // Loads the entries of [firstBlock, firstBlock+count) into the window; count is at most
  // kWindowBlocks. Answers how many that were.
  u32 LoadIndex(u64 firstBlock, u64 count);
  // Reads the entries' bytes at once; false when that fails.
  bool ReadIndex(u64 firstBlock, u32 count, u8* bytes);
  // Calls call(block, entry) for the blocks of [block, end) that have an entry in the file which
  // names a record or cannot be read, in order, until it answers false; then the answer is false,
  // too. The loaded window is lost, the map is the call's.
  bool ScanIndex(u64 block, u64 end, const std::function<bool(u64, Entry)>& call);
  bool LoadMap(Entry record);
  bool StoreMap(Entry record);

  // Looks through the index for the file's recordEnd, the first time. The loaded window is lost.
  void FindRecordEnd();
  // The number of the next record; kNowhere when there can be none.
  Entry NextRecord();
  // Gives records to the `count` blocks from firstBlock on, which have none, and puts them into the
  // window from item `at` on. Answers how many got one: all, fewer when the file cannot grow as
  // far, 0 on failure.
  u32 AppendRecords(u64 firstBlock, u32 at, u32 count, Lacking lacking);
  // The same for the blocks without a record from item `at` of the window on, up to the first that
  // has one.
  u32 AppendRun(u64 firstBlock, u32 at, u32 windowCount, Lacking lacking);
  bool ReserveRecords(Entry first, u64 count);

  // Cuts [first, first+count) at the image's end; false when nothing is left of it.
  bool CutRange(u64 first, u64* count) const;
  // Calls `work` for the chunks of the range, in order, until one is not settled whole. Answers how
  // many sectors were. REQUIRES: both locks are held.
  u64 WalkChunks(u64 first, u64 count, Lacking lacking, const ChunkWork& work);
  // The map of a chunk as it is now; false when it cannot be read.
  bool LoadChunkMap(const Chunk& chunk);
  // Changes every status `from` of the range into `to`.
  bool Remark(u64 first, u64 count, Lacking lacking, SectorStatus from, SectorStatus to);

  // The part of [sector, sector+remaining) that lies in the first block.
  Chunk ChunkAt(u64 sector, u64 remaining) const;
  enum class Absent { kZeros, kUntouched };
  u32 ReadRange(u8* buffer, u32 count, cBitMap* presence, Absent absent);
  // These read a chunk whose first bit in `presence` is `bit`.
  u32 ReadChunk(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence, Absent absent);
  u32 ReadComplete(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence);
  u32 ReadAbsent(const Chunk& chunk, u8* buffer, u64 bit, cBitMap* presence, Absent absent);
  u32 ReadData(const Chunk& chunk, u8* buffer);
  enum class Over { kKeepUnreadable, kReplaceUnreadable };
  u32 Store(u64 sector, const u8* buffer, u32 count, Over over);
  u32 StoreChunk(const Chunk& chunk, const u8* buffer, Over over);

  cBaseIO* m_backing = nullptr;  // the resource's object
  u64 m_position = 0;
  cNestedIOResource m_resource;
  cCriticalSection m_section;
  SparseLayout m_layout;
  std::array<u8, kMaxSparseBlock> m_map;      // the status map last loaded, blockSize bytes
  std::array<Entry, kWindowBlocks> m_window;  // the index entries last loaded
  std::shared_ptr<SharedFile> m_file;         // set while open
  CompleteBlocks m_complete;
  u64 m_seenDemotions = 0;  // when m_complete was last true
  u64 m_roomFirst = 0;      // the blocks for which room was last made
  u64 m_roomEnd = 0;
};

}  // namespace larkspur
