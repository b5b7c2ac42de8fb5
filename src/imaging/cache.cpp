// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/cache.h"

#include <fmt/format.h>

#include "base/path_text.h"
#include "io/flat_io.h"
#include "platform/clock.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using platform::OwnedFile;

constexpr u32 kReadWrite = platform::kOpenRead | platform::kOpenWrite;

constexpr u32 kNameTries = 16;

Cache Answered(CacheAnswer answer) {
  Cache cache;
  cache.answer = answer;
  cache.systemError = platform::LastFailure();
  return cache;
}

// What stands at the place of the file; kOpened when it may be a cache. Only a plain file can be
// one: nothing is read from a device that need not be.
CacheAnswer ClassifyPlace(platform::PathKind kind) {
  switch (kind) {
    case platform::PathKind::kFile:
      return CacheAnswer::kOpened;
    case platform::PathKind::kAbsent:
      return CacheAnswer::kAbsent;
    case platform::PathKind::kFolder:
      return CacheAnswer::kFolder;
    case platform::PathKind::kDevice:
    case platform::PathKind::kOther:
      return CacheAnswer::kForeign;
    case platform::PathKind::kUnknown:
      break;
  }
  return CacheAnswer::kCannotOpen;
}

// What the header alone says of the file; kOpened when it is a cache.
CacheAnswer ClassifyHeader(cFlatIO* file, SparseLayout* layout) {
  std::array<u8, kSparseHeaderBytes> header{};
  if (!file->ReadBytes(header.data(), 0, kSparseHeaderBytes)) {
    const bool isShort = file->GetByteSize() < kSparseHeaderBytes;
    return isShort ? CacheAnswer::kForeign : CacheAnswer::kCannotOpen;
  }
  if (!SparseLayout::HasMagic(header)) return CacheAnswer::kForeign;
  const auto parsed = SparseLayout::Parse(header);
  if (!parsed || parsed->sectorCount == 0) return CacheAnswer::kDamagedHeader;
  *layout = *parsed;
  return CacheAnswer::kOpened;
}

// What is wrong with the file as a whole; kOpened when nothing is.
CacheAnswer FaultOf(cFlatIO* file, const SparseLayout& layout, cKVRSparseIO* image) {
  const cKVRSparseIO::IndexSurvey survey = image->SurveyIndex();
  // Asked after the index: beside a run that works on the file, it grows before the index says so.
  const u64 bytes = file->GetByteSize();
  const u64 sectors = bytes >> kSectorShift;
  if (sectors < layout.DataStart()) return CacheAnswer::kIncomplete;
  if (survey.unread > 0) return CacheAnswer::kUnreadable;
  // New records go to the file's end, so nothing that the index names may lie past it.
  const u64 records = layout.RecordsIn(sectors);
  const bool endsWithRecord = layout.RecordSector(records) << kSectorShift == bytes;
  if (!endsWithRecord || survey.recordEnd > records) return CacheAnswer::kIncomplete;
  return survey.sharing ? CacheAnswer::kSharedRecord : CacheAnswer::kOpened;
}

// Lays an empty image on the new file at `path`, which `made` has open.
bool LayImage(const std::u16string& path, const OwnedFile& made, u64 sectors) {
  Owned<cFlatIO> file(new cFlatIO);
  if (!file->OpenPath(path, false)) return false;
  if (file->Identity() != platform::IdentityOf(made.Handle())) return false;  // somebody swapped it
  const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
  cKVRSparseIO image;
  return sectors > 0 && image.Create(&resource, sectors, false) == sectors &&
         platform::SyncFile(made.Handle());
}

// Makes a file beside `path` under a name that nothing had; `unfinished` learns the name.
OwnedFile MakeUnfinished(const std::u16string& path, std::u16string* unfinished) {
  OwnedFile made;
  for (u32 tries = 0; tries < kNameTries && !made.IsOpen(); ++tries) {
    const u32 number = platform::TickCount() + tries;
    *unfinished = path + WideFromUtf8(fmt::format(".larkspur-new-{:08x}", number));
    made = OwnedFile(platform::CreateNewFile(unfinished->c_str()));
  }
  return made;
}

// `fresh`: the file was made a moment ago, so its index need not be looked through.
Cache OpenFile(const std::u16string& path, CacheAccess access, std::optional<u64> expectedSectors,
               bool fresh) {
  platform::SetLastFailure(0);
  const CacheAnswer place = ClassifyPlace(platform::KindOfPath(path.c_str()));
  if (place != CacheAnswer::kOpened) return Answered(place);
  const bool look = access == CacheAccess::kLook;
  Owned<cFlatIO> file(new cFlatIO);
  if (!file->OpenPath(path, true)) return Answered(CacheAnswer::kCannotOpen);
  SparseLayout layout;
  const CacheAnswer header = ClassifyHeader(file.get(), &layout);
  if (header != CacheAnswer::kOpened) return Answered(header);
  Cache cache = look ? Answered(CacheAnswer::kOpened) : LockCache(path);
  cache.cacheSectors = layout.sectorCount;
  cache.fileBytes = file->GetByteSize();
  fresh = fresh && cache.fileBytes == layout.DataStart() << kSectorShift;
  if (cache.answer != CacheAnswer::kOpened) return cache;
  if (expectedSectors.value_or(layout.sectorCount) != layout.sectorCount) {
    cache.answer = CacheAnswer::kOtherSize;
    return cache;
  }
  if (!look && !file->SetReadOnly(false)) return Answered(CacheAnswer::kCannotOpen);
  cFlatIO* backing = file.get();
  const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
  cache.image.reset(new cKVRSparseIO);
  if (!cache.image->Open(&resource, look)) return Answered(CacheAnswer::kCannotOpen);
  if (!fresh) (look ? cache.damage : cache.answer) = FaultOf(backing, layout, cache.image.get());
  if (cache.answer != CacheAnswer::kOpened) cache.image.reset();
  cache.created = fresh && cache.image;
  return cache;
}

Cache CreateCache(const std::u16string& path, u64 sectors) {
  platform::SetLastFailure(0);
  std::u16string unfinished;
  OwnedFile made = MakeUnfinished(path, &unfinished);
  if (!made.IsOpen()) return Answered(CacheAnswer::kCannotCreate);
  const bool isLaid = LayImage(unfinished, made, sectors);
  made.Close();
  if (isLaid && platform::RenameToUnused(unfinished.c_str(), path.c_str())) {
    if (!platform::SyncFolderOf(path.c_str())) return Answered(CacheAnswer::kCannotCreate);
    return OpenFile(path, CacheAccess::kResume, sectors, true);
  }
  Cache failed = Answered(CacheAnswer::kCannotCreate);
  platform::RemoveFile(unfinished.c_str());
  // Another run may have made the same cache meanwhile.
  const bool isThere = platform::KindOfPath(path.c_str()) != platform::PathKind::kAbsent;
  if (isLaid && isThere) return OpenFile(path, CacheAccess::kResume, sectors, false);
  return failed;
}

}  // namespace

Cache LockCache(const std::u16string& path) {
  OwnedFile file(platform::OpenExistingFile(path.c_str(), kReadWrite));
  if (!file.IsOpen()) return Answered(CacheAnswer::kCannotOpen);
  if (platform::LockFileAlone(file.Handle()) == platform::LockAnswer::kLockedElsewhere) {
    Cache cache = Answered(CacheAnswer::kLockedElsewhere);
    cache.lock = CacheLock::FindInProcess(file.Handle());
    if (cache.lock) cache.answer = CacheAnswer::kOpened;
    return cache;
  }
  Cache cache = Answered(CacheAnswer::kOpened);
  cache.lock = std::make_shared<CacheLock>(std::move(file));
  return cache;
}

Cache OpenCache(const std::u16string& path, CacheAccess access,
                std::optional<u64> expectedSectors) {
  return OpenFile(path, access, expectedSectors, false);
}

std::optional<Cache> OpenIfCache(const std::u16string& path) {
  Cache cache = OpenCache(path, CacheAccess::kLook);
  const bool isCache =
      cache.answer == CacheAnswer::kOpened || cache.answer == CacheAnswer::kDamagedHeader;
  return isCache ? std::optional(std::move(cache)) : std::nullopt;
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
