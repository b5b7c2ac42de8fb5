// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/memory_disk.h"

#include <algorithm>
#include <cstring>

#include "io/bit_map.h"

namespace larkspur::fakes {

bool MemoryStore::Begin(char kind, u64 offset, u64 length) {
  ++operations;
  const bool scripted =
      failAt != 0 && (operations == failAt || (failForGood && operations > failAt));
  const bool unreadable = kind == 'R' && refusesRead && refusesRead(offset, length);
  const bool fails = scripted || unreadable;
  if (keepLog && !fails) log.push_back({kind, offset, length, {}});
  return !fails;
}

void MemoryStore::RefuseByte(u64 at) {
  refusesRead = [at](u64 offset, u64 length) { return offset <= at && at < offset + length; };
}

cMemoryDisk::cMemoryDisk(std::shared_ptr<MemoryStore> store, bool readOnly)
    : m_store(std::move(store)) {
  m_readOnly = readOnly;
  m_name.Assign(u"memory disk");
  m_path.Assign(u"memory:disk");
}

cBaseIO* cMemoryDisk::Clone() {
  return new cMemoryDisk(m_store, m_readOnly);
}

bool cMemoryDisk::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == kTypeId &&
         static_cast<cMemoryDisk*>(other)->m_store == m_store;
}

bool cMemoryDisk::SetReadOnly(bool readOnly) {
  m_readOnly = readOnly;
  return true;
}

u64 cMemoryDisk::SetPosition(u64 sector) {
  m_position = std::min(sector, GetSectorCount());
  return m_position;
}

u32 cMemoryDisk::Read(void* buffer, u32 count, cBitMap* presence) {
  const std::lock_guard held(m_store->lock);
  if (presence) presence->Fill(true);
  const u64 end = std::max(GetSectorCount(), m_position);
  const u32 fitting = static_cast<u32>(std::min<u64>(count, end - m_position));
  const u64 offset = m_position * kSectorBytes;
  if (!m_store->Begin('R', offset, u64{count} * kSectorBytes) || fitting == 0) return 0;
  std::memcpy(buffer, &m_store->bytes[offset], u64{fitting} * kSectorBytes);
  m_position += fitting;
  return fitting;
}

bool cMemoryDisk::WriteAt(u64 offset, const void* buffer, u64 length) {
  const std::lock_guard held(m_store->lock);
  const bool whole = m_store->Begin('W', offset, length);
  if (whole && m_store->keepLog && m_store->keepData) {
    const u8* const bytes = static_cast<const u8*>(buffer);
    m_store->log.back().data.assign(bytes, bytes + length);
  }
  const u64 torn = (offset + length / 2) / kSectorBytes * kSectorBytes;
  const u64 kept = whole ? length : m_store->tearWrites && torn > offset ? torn - offset : 0;
  if (kept > 0) std::memcpy(&m_store->bytes[offset], buffer, kept);
  return whole;
}

u32 cMemoryDisk::Write(u64 sector, const void* buffer, u32 count) {
  const u64 end = GetSectorCount();
  if (m_readOnly || sector >= end) return 0;
  const u32 fitting = static_cast<u32>(std::min<u64>(count, end - sector));
  return WriteAt(sector * kSectorBytes, buffer, u64{fitting} * kSectorBytes) ? fitting : 0;
}

bool cMemoryDisk::ReadBytes(void* buffer, u64 offset, u32 lengthBytes) {
  const std::lock_guard held(m_store->lock);
  const u64 size = m_store->bytes.size();
  if (!m_store->Begin('R', offset, lengthBytes)) return false;
  if (offset > size || lengthBytes > size - offset) return false;
  if (lengthBytes > 0) std::memcpy(buffer, &m_store->bytes[offset], lengthBytes);
  return true;
}

bool cMemoryDisk::WriteBytes(const void* buffer, u64 offset, u32 lengthBytes) {
  const u64 size = m_store->ByteSize();
  if (m_readOnly || offset >= size) return false;
  return WriteAt(offset, buffer, std::min<u64>(lengthBytes, size - offset));
}

bool cMemoryDisk::SetSectorCount(u64 count) {
  const std::lock_guard held(m_store->lock);
  if (m_readOnly || count > m_store->limitBytes / kSectorBytes) return false;
  if (!m_store->Begin('G', count * kSectorBytes, 0)) return false;
  m_store->bytes.resize(count * kSectorBytes);
  return true;
}

bool cMemoryDisk::GetGeometry(u32* three) {
  const bool isKnown = cBaseIO::GetGeometry(three);
  three[0] = m_store->sectorBytes;
  return isKnown;
}

std::shared_ptr<MemoryStore> MakeStore(u64 sectors) {
  auto store = std::make_shared<MemoryStore>();
  store->bytes.resize(sectors * kSectorBytes);
  return store;
}

std::shared_ptr<MemoryStore> StoreOf(std::vector<u8> bytes) {
  auto store = MakeStore();
  store->bytes = std::move(bytes);
  return store;
}

Owned<cMemoryDisk> DiskOn(std::shared_ptr<MemoryStore> store, bool readOnly) {
  return Owned<cMemoryDisk>(new cMemoryDisk(std::move(store), readOnly));
}

cNestedIOResource ResourceOn(std::shared_ptr<MemoryStore> store, bool readOnly) {
  return cNestedIOResource(DiskOn(std::move(store), readOnly));
}

std::string Describe(const std::vector<MemoryOperation>& log) {
  std::string text;
  for (const MemoryOperation& operation : log) {
    if (!text.empty()) text += ' ';
    text += operation.kind + (":" + std::to_string(operation.offset));
    if (operation.kind != 'G') text += "+" + std::to_string(operation.length);
  }
  return text;
}

void FillPattern(u64 sector, u8* buffer, u32 count) {
  for (u64 end = sector + count; sector < end; ++sector, buffer += kSectorBytes) {
    u64 state = sector * 0x9E3779B97F4A7C15 + 0x1234567;
    for (u32 i = 0; i < kSectorBytes; i += 8) {
      state = state * 6364136223846793005 + 1442695040888963407;
      std::memcpy(buffer + i, &state, 8);
    }
    buffer[0] |= 1;
  }
}

std::vector<u8> Pattern(u64 sector, u32 count) {
  std::vector<u8> bytes(u64{count} * kSectorBytes);
  FillPattern(sector, bytes.data(), count);
  return bytes;
}

bool IsPattern(u64 sector, const u8* buffer) {
  u8 expected[kSectorBytes];
  FillPattern(sector, expected);
  return std::memcmp(expected, buffer, kSectorBytes) == 0;
}

bool IsZero(const u8* buffer, size_t length) {
  return std::all_of(buffer, buffer + length, [](u8 byte) { return byte == 0; });
}

}  // namespace larkspur::fakes
