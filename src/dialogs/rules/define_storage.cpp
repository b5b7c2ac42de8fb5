// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/rules/define_storage.h"

#include <new>

#include "imaging/cache.h"
#include "io/flat_io.h"

namespace larkspur {
namespace {

// The cache of one Define: the file, and the sparse image over a clone of it. Destroyed with it;
// the read-once storage keeps clones of its own.
class CacheInTheMaking {
 public:
  explicit CacheInTheMaking(const std::u16string& path) : m_path(path) {}
  CacheInTheMaking(const CacheInTheMaking&) = delete;
  CacheInTheMaking& operator=(const CacheInTheMaking&) = delete;
  ~CacheInTheMaking() {
    if (m_removeAtEnd) Remove();
  }

  bool OpenExisting() {
    return HoldCache(m_path).answer != CacheAnswer::kHeldElsewhere &&
           m_file.OpenPath(m_path, false) && Nest() && m_image.Open(&m_nested, false);
  }

  bool Create(u64 sectors) {
    const cNamedFileResource resource(m_path);
    m_file.Create(&resource, 0, true);
    // Writable only when the file was made: the size asked for, and so the answer, is 0.
    m_removeAtEnd = !m_file.IsReadOnly();
    return m_removeAtEnd && Nest() && m_image.Create(&m_nested, sectors, true) == sectors &&
           sectors != 0;
  }

  void Keep() { m_removeAtEnd = false; }
  cKVRSparseIO* Image() { return &m_image; }

 private:
  bool Nest() {
    m_nested = cNestedIOResource(Owned<cBaseIO>(m_file.Clone()));
    return m_nested.IO();
  }

  void Remove() {
    m_image.Close();
    m_nested.Clear();
    m_file.Close();
    platform::RemoveFile(m_path.c_str());
  }

  const std::u16string m_path;
  cFlatIO m_file;
  cNestedIOResource m_nested;
  cKVRSparseIO m_image;
  bool m_removeAtEnd = false;
};

Defined Answered(DefineAnswer answer) {
  return {answer, nullptr};
}

Defined Attach(CacheInTheMaking* cache, cBaseIO* source) {
  Owned<cReadOnceIO> storage(new (std::nothrow) cReadOnceIO);
  if (!storage || !storage->Attach(cache->Image(), source)) {
    return Answered(DefineAnswer::kNotAttached);
  }
  cache->Keep();
  return {DefineAnswer::kDefined, std::move(storage)};
}

}  // namespace

CachePathClass ClassifyCachePath(const std::u16string& path) {
  switch (platform::KindOfPath(platform::FullPath(path.c_str()).c_str())) {
    case platform::PathKind::kAbsent:
      return CachePathClass::kNew;
    case platform::PathKind::kFolder:
      return CachePathClass::kFolder;
    case platform::PathKind::kFile:
      return CachePathClass::kExistingFile;
    case platform::PathKind::kDevice:
      return CachePathClass::kDevice;
    default:
      return CachePathClass::kUnknown;
  }
}

Defined DefineStorage(cBaseIO* source, const std::u16string& cachePath) {
  if (!source) return Answered(DefineAnswer::kSourceMissing);
  if (cachePath.empty()) return Answered(DefineAnswer::kPathMissing);
  // In full, because the host may change its current folder and the storage reopens the file.
  CacheInTheMaking cache(platform::FullPath(cachePath.c_str()));
  switch (ClassifyCachePath(cachePath)) {
    case CachePathClass::kExistingFile:
      if (!cache.OpenExisting()) return Answered(DefineAnswer::kCacheFailed);
      if (cache.Image()->GetSectorCount() != source->GetSectorCount()) {
        return Answered(DefineAnswer::kWrongSize);
      }
      return Attach(&cache, source);
    case CachePathClass::kNew:
      if (!cache.Create(source->GetSectorCount())) return Answered(DefineAnswer::kCacheFailed);
      return Attach(&cache, source);
    default:
      return Answered(DefineAnswer::kCacheFailed);
  }
}

}  // namespace larkspur
