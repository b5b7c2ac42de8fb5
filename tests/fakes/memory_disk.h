// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A storage in memory. Clones share one store, like handles on one file, and the store can be made
// to fail, to refuse growth, and to tell what was done to it in which order.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/owned.h"
#include "io/base_io.h"
#include "io/resource.h"

namespace larkspur::fakes {

struct MemoryOperation {
  char kind;   // 'R' read, 'W' write, 'G' growth or cut
  u64 offset;  // bytes; of a growth: the new size
  u64 length;
  std::vector<u8> data = {};  // of a write, with keepData
};

struct MemoryStore {
  // Held by each operation, so that clones may work on several threads as handles on one file do.
  std::recursive_mutex lock;
  std::vector<u8> bytes;
  u64 limitBytes = u64{256} << 20;  // growth beyond it fails

  // Operations are transfers and changes of size. The one that makes `operations` reach `failAt`
  // fails, and with `failForGood` so do all that follow.
  u64 operations = 0;
  u64 failAt = 0;
  bool failForGood = false;
  // Reads of which this answers true fail; may be empty.
  std::function<bool(u64 offset, u64 length)> refusesRead;
  // Makes all reads fail that touch this byte.
  void RefuseByte(u64 at);
  u32 sectorBytes = kSectorBytes;  // that the disk says it has
  // A failing write leaves its first sectors behind, as a disk does.
  bool tearWrites = false;

  bool keepLog = false;
  bool keepData = false;
  std::vector<MemoryOperation> log;

  u64 ByteSize() {
    const std::lock_guard held(lock);
    return bytes.size();
  }
  u64 Sectors() { return ByteSize() / kSectorBytes; }
  // Counts an operation and answers whether it may succeed.
  bool Begin(char kind, u64 offset, u64 length);
};

class cMemoryDisk final : public cBaseIO {
 public:
  static constexpr u32 kTypeId = 0x7E01;

  explicit cMemoryDisk(std::shared_ptr<MemoryStore> store, bool readOnly = false);
  ~cMemoryDisk() = default;

  MemoryStore& Store() { return *m_store; }
  void SetName(std::u16string_view name) { m_name.Assign(name); }

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  bool SetReadOnly(bool readOnly) override;
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u32 Write(u64 sector, const void* buffer, u32 count) override;
  bool ReadBytes(void* buffer, u64 offset, u32 lengthBytes) override;
  bool WriteBytes(const void* buffer, u64 offset, u32 lengthBytes) override;
  bool SetSectorCount(u64 count) override;
  u64 GetSectorCount() override { return m_store->Sectors(); }
  u64 GetByteSize() override { return m_store->ByteSize(); }
  u32 GetTypeId() override { return kTypeId; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  bool GetGeometry(u32* three) override;

 private:
  bool WriteAt(u64 offset, const void* buffer, u64 length);

  std::shared_ptr<MemoryStore> m_store;
  u64 m_position = 0;
};

std::shared_ptr<MemoryStore> MakeStore(u64 sectors = 0);
std::shared_ptr<MemoryStore> StoreOf(std::vector<u8> bytes);
Owned<cMemoryDisk> DiskOn(std::shared_ptr<MemoryStore> store, bool readOnly = false);
cNestedIOResource ResourceOn(std::shared_ptr<MemoryStore> store, bool readOnly = false);

// The operations of a log as a line: "G:512 W:0+28 W:512+512".
std::string Describe(const std::vector<MemoryOperation>& log);

// What sector `sector` of the test's source holds: every sector different, none all zeros.
void FillPattern(u64 sector, u8* buffer, u32 count = 1);
std::vector<u8> Pattern(u64 sector, u32 count);
bool IsPattern(u64 sector, const u8* buffer);
bool IsZero(const u8* buffer, size_t length);

}  // namespace larkspur::fakes
