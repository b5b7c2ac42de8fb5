// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cBaseIO: a storage addressed by sectors of 512 bytes, through which everything reads and writes.
//
// A host calls these operations by their slot, so their order is part of the contract. Failures are
// results: false, 0, a short count, kNowhere. An object serves one thread at a time unless its
// class says otherwise; another thread takes a Clone.

#include "base/types.h"
#include "base/wide_string.h"

namespace larkspur {

class cBaseIoResource;
class cBitMap;

enum TypeId : u32 {
  kTypeBase = 0,
  kTypeWinHD = 2,
  kTypeWinCD = 3,
  kTypeFlat = 7,
  kTypeKVRSparse = 15,
  kTypeReadOnce = 22,
  kTypeNamedWinHD = 23,
  // Ours alone, from here on: no host asks for them.
  kTypeFailing = 0x4C01,
  kTypePiecewise = 0x4C02,
  kTypeRescue = 0x4C03,
};

class cBaseIO {
 public:
  cBaseIO(const cBaseIO&) = delete;
  cBaseIO& operator=(const cBaseIO&) = delete;

  // An independent object of the same class on the same target, opened the same way, owned by the
  // caller; null on failure.
  virtual cBaseIO* Clone() = 0;  // slot 0
  // Same class and same target.
  virtual bool IsSameAs(cBaseIO* other) = 0;        // slot 1
  virtual bool IsSparse() { return false; }         // slot 2
  virtual bool QueryCapability() { return false; }  // slot 3
  // Puts the members into the closed state without releasing anything.
  virtual void InitState() {}                                                 // slot 4
  virtual void Close() {}                                                     // slot 5
  virtual bool SetReadOnly(bool readOnly) { return readOnly == m_readOnly; }  // slot 6
  virtual bool Open(const cBaseIoResource* /*resource*/, bool /*readOnly*/) { return false; }  // 7
  // Makes a target of that size and answers sectorCount; 0 on failure.
  virtual u64 Create(const cBaseIoResource* /*resource*/, u64 /*sectorCount*/, bool /*openAfter*/) {
    return 0;
  }  // slot 8
  // Sets the current sector, clamped to the sector count, and answers it.
  virtual u64 SetPosition(u64 /*sector*/) { return kNowhere; }  // slot 9
  // Reads `count` sectors at the current position, which advances; answers the sectors read. Where
  // `presence` is given, classes that know set its bit i when sector i is really stored.
  virtual u32 Read(void* /*buffer*/, u32 /*count*/, cBitMap* /*presence*/ = nullptr) {
    return 0;
  }  // slot 10
  // Writes those of [sector, sector+count) whose mask bit is set (all with a null mask). Answers
  // count, or the offset of the run that could not be written whole.
  virtual u32 WriteMasked(u64 sector, const void* buffer, u32 count, cBitMap* mask);  // slot 11
  // Writes [sector, sector+count) and answers the sectors written; the position does not count.
  virtual u32 Write(u64 /*sector*/, const void* /*buffer*/, u32 /*count*/) { return 0; }  // 12
  // Any bytes. Null buffers are refused; a length of 0 succeeds.
  virtual bool ReadBytes(void* buffer, u64 offset, u32 lengthBytes);         // slot 13
  virtual bool WriteBytes(const void* buffer, u64 offset, u32 lengthBytes);  // slot 14
  virtual bool SetSectorCount(u64 /*count*/) { return false; }               // slot 15
  virtual u64 GetSectorCount() { return 0; }                                 // slot 16
  virtual u64 GetFullSectorCount() { return GetSectorCount(); }              // slot 17
  virtual u64 GetByteSize() { return GetSectorCount() << kSectorShift; }     // slot 18
  // Valid until the object changes; never null.
  virtual const char16_t* GetName() { return m_name.Text(); }  // slot 19
  virtual u32 GetTypeId() { return kTypeBase; }                // slot 20
  virtual u32 GetResourceKind() { return 0; }                  // slot 21
  virtual void* Destroy(u32 flags) = 0;                        // slot 22
  // Bytes per sector, sectors per track, heads.
  virtual bool GetGeometry(u32* three);  // slot 23
  // Writes zero-terminated text, cut at `capacity` characters with the terminator.
  virtual bool GetDescription(char16_t* buffer, i32 capacity);  // slot 24

  // The path of the file or device, or of what a composite object stands on, and whether the object
  // takes writes. Asked of our own classes only: no slot answers these two.
  const cWideString& Path() const { return m_path; }
  bool IsReadOnly() const { return m_readOnly; }

 protected:
  cBaseIO() = default;
  ~cBaseIO();

  // Copies text as GetDescription answers it; false when not even the terminator fits.
  static bool CopyText(std::u16string_view text, char16_t* buffer, i32 capacity);

  // The scratch sector of byte transfers, allocated on first use; null without memory.
  u8* Scratch();

 private:
  bool ReadScratch(u64 sector);
  bool PatchSector(u64 sector, u32 firstByte, const u8* bytes, u32 lengthBytes);

  u8* m_scratch = nullptr;

 protected:
  bool m_readOnly = true;
  cWideString m_name;
  cWideString m_path;
};

}  // namespace larkspur
