// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/cache.h"

#include "io/flat_io.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using platform::OwnedFile;

constexpr u32 kReadWrite = platform::kOpenRead | platform::kOpenWrite;

// What a new cache is called until it is complete.
constexpr std::u16string_view kUnfinishedSuffix = u".larkspur-new";

Cache Answered(CacheAnswer answer) {
  Cache cache;
  cache.answer = answer;
  cache.systemError = platform::LastFailure();
  return cache;
}

// What the header alone says of the file; kOpened when it is a cache.
CacheAnswer ClassifyHeader(cFlatIO* file, SparseLayout* layout) {
  std::array<u8, kSparseHeaderBytes> header{};
  if (!file->ReadBytes(header.data(), 0, kSparseHeaderBytes)) return CacheAnswer::kForeign;
  if (!SparseLayout::HasMagic(header)) return CacheAnswer::kForeign;
  const auto parsed = SparseLayout::Parse(header);
  if (!parsed || parsed->sectorCount == 0) return CacheAnswer::kDamagedHeader;
  *layout = *parsed;
  return CacheAnswer::kOpened;
}

// New records go to the file's end, so nothing that the index names may lie beyond it.
bool IsComplete(cFlatIO* file, const SparseLayout& layout, cKVRSparseIO* image) {
  const u64 sectors = file->GetSectorCount();
  if (file->GetByteSize() % kSectorBytes != 0 || sectors < layout.DataStart()) return false;
  if ((sectors - layout.DataStart()) % layout.RecordSectors() != 0) return false;
  return image->SurveyIndex().recordEnd <= layout.RecordsIn(sectors);
}

Cache CreateUnder(const std::u16string& path, u64 sectors) {
  // Locked before it is emptied: another run may be making the same cache.
  OwnedFile made(platform::OpenExistingFile(path.c_str(), kReadWrite));
  if (!made.IsOpen()) made = OwnedFile(platform::CreateEmptyFile(path.c_str()));
  if (!made.IsOpen()) return Answered(CacheAnswer::kCannotCreate);
  if (platform::LockFileAlone(made.Handle()) == platform::LockAnswer::kHeldElsewhere) {
    return Answered(CacheAnswer::kHeldElsewhere);
  }
  platform::SetLastFailure(0);
  Owned<cFlatIO> file(new cFlatIO);
  bool complete = platform::SetFileSize(made.Handle(), 0) && file->OpenPath(path, false);
  if (complete) {
    const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
    cKVRSparseIO image;
    complete = image.Create(&resource, sectors, false) == sectors;
  }
  complete = complete && platform::SyncFile(made.Handle());
  Cache cache = Answered(complete ? CacheAnswer::kOpened : CacheAnswer::kCannotCreate);
  made.Close();
  if (!complete) platform::RemoveFile(path.c_str());
  return cache;
}

// `fresh`: the file was made a moment ago, so its index need not be looked through.
Cache OpenFile(const std::u16string& path, CacheAccess access, u64 expectedSectors, bool fresh) {
  platform::SetLastFailure(0);
  const platform::PathKind kind = platform::KindOfPath(path.c_str());
  if (kind == platform::PathKind::kAbsent) return Answered(CacheAnswer::kAbsent);
  if (kind == platform::PathKind::kFolder) return Answered(CacheAnswer::kFolder);
  const bool look = access == CacheAccess::kLook;
  Owned<cFlatIO> file(new cFlatIO);
  if (!file->OpenPath(path, true)) return Answered(CacheAnswer::kCannotOpen);
  SparseLayout layout;
  const CacheAnswer header = ClassifyHeader(file.get(), &layout);
  if (header != CacheAnswer::kOpened) return Answered(header);
  Cache cache = look ? Answered(CacheAnswer::kOpened) : HoldCache(path);
  cache.cacheSectors = layout.sectorCount;
  cache.fileBytes = file->GetByteSize();
  if (cache.answer != CacheAnswer::kOpened) return cache;
  if (!look && !file->SetReadOnly(false)) return Answered(CacheAnswer::kCannotOpen);
  cFlatIO* backing = file.get();
  const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
  cache.image.reset(new cKVRSparseIO);
  if (!cache.image->Open(&resource, look)) return Answered(CacheAnswer::kCannotOpen);
  if (expectedSectors != 0 && expectedSectors != layout.sectorCount) {
    cache.answer = CacheAnswer::kOtherSize;
  } else if (!look && !fresh && !IsComplete(backing, layout, cache.image.get())) {
    cache.answer = CacheAnswer::kIncomplete;
  }
  cache.created = fresh && cache.answer == CacheAnswer::kOpened;
  return cache;
}

Cache CreateCache(const std::u16string& path, u64 sectors) {
  const std::u16string unfinished = path + std::u16string(kUnfinishedSuffix);
  platform::SetLastFailure(0);
  Cache created = CreateUnder(unfinished, sectors);
  if (created.answer != CacheAnswer::kOpened) return created;
  if (!platform::RenameToUnused(unfinished.c_str(), path.c_str())) {
    created = Answered(CacheAnswer::kCannotCreate);
    platform::RemoveFile(unfinished.c_str());
    return created;
  }
  return OpenFile(path, CacheAccess::kResume, sectors, true);
}

}  // namespace

Cache HoldCache(const std::u16string& path) {
  OwnedFile file(platform::OpenExistingFile(path.c_str(), kReadWrite));
  if (!file.IsOpen()) return Answered(CacheAnswer::kCannotOpen);
  if (platform::LockFileAlone(file.Handle()) == platform::LockAnswer::kHeldElsewhere) {
    return Answered(CacheAnswer::kHeldElsewhere);
  }
  Cache cache = Answered(CacheAnswer::kOpened);
  cache.hold = std::make_unique<CacheHold>(std::move(file));
  return cache;
}

Cache OpenCache(const std::u16string& path, CacheAccess access, u64 expectedSectors) {
  return OpenFile(path, access, expectedSectors, false);
}

Cache OpenOrCreateCache(const std::u16string& path, const std::u16string& sourcePath, u64 sectors) {
  if (platform::AreSameFile(path.c_str(), sourcePath.c_str())) {
    return Answered(CacheAnswer::kSameAsSource);
  }
  if (platform::IsFileOnDisk(path.c_str(), sourcePath.c_str())) {
    return Answered(CacheAnswer::kOnSourceDisk);
  }
  Cache cache = OpenCache(path, CacheAccess::kResume, sectors);
  return cache.answer == CacheAnswer::kAbsent ? CreateCache(path, sectors) : std::move(cache);
}

}  // namespace larkspur
