// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/flat_io.h"

#include <algorithm>
#include <new>

#include "base/owned.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

// The file-name part of a path: what follows the last backslash, or without one the last slash, and
// any run of either after it.
std::u16string_view FileNamePart(std::u16string_view path) {
  size_t cut = path.rfind(u'\\');
  if (cut == std::u16string_view::npos) cut = path.rfind(u'/');
  if (cut == std::u16string_view::npos) return path;
  const size_t name = path.find_first_not_of(u"\\/", cut);
  return name == std::u16string_view::npos ? std::u16string_view{} : path.substr(name);
}

const cNamedFileResource* AsNamedFile(const cBaseIoResource* resource) {
  const bool fits = resource && resource->GetKind() == kResourceNamedFile;
  return fits ? static_cast<const cNamedFileResource*>(resource) : nullptr;
}

}  // namespace

bool cFlatIO::OpenPath(std::u16string_view path, bool readOnly) {
  const cNamedFileResource resource(path);
  return Open(&resource, readOnly);
}

cBaseIO* cFlatIO::Clone() {
  Owned<cFlatIO> clone(new (std::nothrow) cFlatIO);
  return clone && clone->Open(&m_resource, m_readOnly) ? clone.release() : nullptr;
}

bool cFlatIO::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == GetTypeId() &&
         static_cast<cFlatIO*>(other)->m_resource.Equals(&m_resource);
}

void cFlatIO::InitState() {
  Close();
}

void cFlatIO::Close() {
  m_file.Close();
  m_readOnly = true;
  m_cachedCount = 0;
}

bool cFlatIO::SetReadOnly(bool readOnly) {
  if (readOnly == m_readOnly) return true;
  if (m_file.Path().IsEmpty()) return false;
  const u32 mode = readOnly ? cFileIO::kModeRead : cFileIO::kModeReadWrite;
  if (!m_file.Reopen(m_file.Path().Text(), mode)) return false;
  m_readOnly = readOnly;
  m_cachedCount = m_file.GetSize() >> kSectorShift;
  return true;
}

bool cFlatIO::Open(const cBaseIoResource* resource, bool readOnly) {
  const cNamedFileResource* named = AsNamedFile(resource);
  if (!named) return false;
  m_path = named->Path();
  m_name.Assign(FileNamePart(m_path.View()));
  const u32 mode = readOnly ? cFileIO::kModeRead : cFileIO::kModeReadWrite;
  if (!m_file.Reopen(m_path.Text(), mode)) return false;
  m_readOnly = readOnly;
  m_resource.Assign(*named);
  m_cachedCount = m_file.GetSize() >> kSectorShift;
  return true;
}

u64 cFlatIO::Create(const cBaseIoResource* resource, u64 sectorCount, bool openAfter) {
  const cNamedFileResource* named = AsNamedFile(resource);
  if (!named || !m_file.CreateEmpty(named->Path().Text())) return 0;
  m_file.SetSize(sectorCount << kSectorShift);
  if (!openAfter) {
    m_file.Close();
    return sectorCount;
  }
  m_file.Seek(0);
  m_readOnly = false;
  m_cachedCount = sectorCount;
  m_name = named->Path();
  m_path = named->Path();
  m_resource.Assign(*named);
  return sectorCount;
}

u64 cFlatIO::SetPosition(u64 sector) {
  const u64 position = std::min(sector, GetSectorCount());
  return m_file.Seek(position << kSectorShift) ? position : kNowhere;
}

u32 cFlatIO::Read(void* buffer, u32 count, cBitMap* presence) {
  if (presence) presence->Fill(true);
  return m_file.ReadSome(buffer, count << kSectorShift) >> kSectorShift;
}

u32 cFlatIO::Write(u64 sector, const void* buffer, u32 count) {
  if (m_readOnly) return 0;
  const u64 end = GetSectorCount();
  if (sector >= end || !m_file.Seek(sector << kSectorShift)) return 0;
  const u32 fitting = static_cast<u32>(std::min<u64>(count, end - sector));
  return m_file.WriteSome(buffer, fitting << kSectorShift) >> kSectorShift;
}

bool cFlatIO::ReadBytes(void* buffer, u64 offset, u32 lengthBytes) {
  return m_file.Seek(offset) && m_file.ReadExact(buffer, lengthBytes);
}

bool cFlatIO::WriteBytes(const void* buffer, u64 offset, u32 lengthBytes) {
  if (m_readOnly) return false;
  const u64 size = m_file.GetSize();
  if (offset >= size || !m_file.Seek(offset)) return false;
  return m_file.WriteExact(buffer, static_cast<u32>(std::min<u64>(lengthBytes, size - offset)));
}

bool cFlatIO::SetSectorCount(u64 count) {
  if (m_readOnly || !m_file.SetSize(count << kSectorShift)) return false;
  m_cachedCount = count;
  return true;
}

u64 cFlatIO::GetSectorCount() {
  return m_readOnly ? m_cachedCount : m_file.GetSize() >> kSectorShift;
}

u64 cFlatIO::GetByteSize() {
  return m_file.GetSize();
}

void* cFlatIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cFlatIO::GetDescription(char16_t* buffer, i32 capacity) {
  return CopyText(m_path.View(), buffer, capacity);
}

}  // namespace larkspur
