// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/cache.h"

#include <algorithm>

#include "imaging/cache_history.h"
#include "imaging/output_file.h"
#include "io/flat_io.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"
#include "rescue/rescue_log.h"

namespace larkspur {
namespace {

using platform::OwnedFile;

constexpr u32 kReadWrite = platform::kOpenRead | platform::kOpenWrite;

tl::unexpected<CacheFault> FailedAs(CacheFaultKind kind) {
  return Failed(CacheFault{kind, platform::LastFailure()});
}

// Why what stands at the place of the file cannot be a cache. Only a plain file can be one: nothing
// is read from a device that need not be.
std::optional<CacheFaultKind> FaultOf(platform::PathKind kind) {
  switch (kind) {
    case platform::PathKind::kFile:
      return std::nullopt;
    case platform::PathKind::kAbsent:
      return CacheFaultKind::kAbsent;
    case platform::PathKind::kFolder:
      return CacheFaultKind::kFolder;
    case platform::PathKind::kDeadLink:
      return CacheFaultKind::kDeadLink;
    case platform::PathKind::kDevice:
    case platform::PathKind::kOther:
      return CacheFaultKind::kForeign;
    case platform::PathKind::kUnknown:
      break;
  }
  return CacheFaultKind::kCannotOpen;
}

// "DISK.KVRSP" too: names come from systems that tell no case.
bool HasNameOfCache(const std::u16string& path) {
  constexpr std::u16string_view kEnding = u".kvrsp";
  if (path.size() < kEnding.size()) return false;
  const auto isLetter = [](char16_t unit, char16_t letter) {
    return unit == letter || unit + (u'a' - u'A') == letter;
  };
  return std::equal(kEnding.begin(), kEnding.end(), path.end() - kEnding.size(),
                    [&](char16_t letter, char16_t unit) { return isLetter(unit, letter); });
}

// What the header says of a cache.
Result<SparseLayout, CacheFaultKind> ReadLayout(cFlatIO* file) {
  std::array<u8, kSparseHeaderBytes> header{};
  if (!file->ReadBytes(header.data(), 0, kSparseHeaderBytes)) {
    const bool isShort = file->GetByteSize() < kSparseHeaderBytes;
    return Failed(isShort ? CacheFaultKind::kForeign : CacheFaultKind::kCannotOpen);
  }
  if (!SparseLayout::HasMagic(header)) return Failed(CacheFaultKind::kForeign);
  const auto layout = SparseLayout::Parse(header);
  if (!layout || layout->sectorCount == 0) return Failed(CacheFaultKind::kDamagedHeader);
  return *layout;
}

// What is wrong with the file as a whole, so that no one may write to it.
std::optional<CacheFault> DamageOf(cFlatIO* file, const SparseLayout& layout, cKVRSparseIO* image) {
  const cKVRSparseIO::IndexSurvey survey = image->SurveyIndex();
  // Asked after the index: beside a run that works on the file, it grows before the index says so.
  const u64 bytes = file->GetByteSize();
  const u64 sectors = bytes >> kSectorShift;
  if (sectors < layout.DataStart()) return CacheFault{CacheFaultKind::kIncomplete};
  if (survey.unread > 0) return CacheFault{CacheFaultKind::kUnreadable, platform::LastFailure()};
  // New records go to the file's end, so nothing that the index names may lie past it.
  const u64 records = layout.RecordsIn(sectors);
  const bool endsWithRecord = layout.RecordSector(records) << kSectorShift == bytes;
  if (!endsWithRecord || survey.recordEnd > records) return CacheFault{CacheFaultKind::kIncomplete};
  if (survey.sharing) return CacheFault{CacheFaultKind::kSharedRecord};
  return std::nullopt;
}

// Whether the header may be that of this file: the disk's size decides how large blocks are, and
// the index ends with the last of them.
bool IsOwnHeader(cFlatIO* file, const SparseLayout& layout) {
  return layout.blockSize == SparseLayout::BlockSizeFor(layout.sectorCount) &&
         EndsWithLastBlock(file, layout);
}

// Lays an empty image on the new file.
bool LayImage(const UnfinishedFile& made, u64 sectors) {
  Owned<cFlatIO> file(new cFlatIO);
  if (!file->OpenPath(made.Path(), false)) return false;
  const platform::FileHandle handle = made.File().Handle();
  if (file->Identity() != platform::IdentityOf(handle)) return false;  // another took its place
  const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
  cKVRSparseIO image;
  return sectors > 0 && image.Create(&resource, sectors, false) == sectors &&
         platform::SyncFile(handle);
}

// `fresh`: the file was made a moment ago, so its index need not be looked through.
Result<Cache, CacheFault> OpenFile(const std::u16string& path, CacheAccess access,
                                   std::optional<u64> expectedSectors, bool fresh) {
  platform::SetLastFailure(0);
  const auto notAFile = FaultOf(platform::KindOfPath(path.c_str()));
  if (notAFile) return FailedAs(*notAFile);
  const bool look = access == CacheAccess::kLook;
  Owned<cFlatIO> file(new cFlatIO);
  if (!file->OpenPath(path, true)) return FailedAs(CacheFaultKind::kCannotOpen);
  const auto layout = ReadLayout(file.get());
  if (!layout) {
    const bool wasCache =
        look && layout.error() == CacheFaultKind::kForeign && HasNameOfCache(path);
    return FailedAs(wasCache ? CacheFaultKind::kDamagedHeader : layout.error());
  }
  Cache cache;
  if (!look) {
    auto lock = LockCache(path);
    if (!lock) return Failed(lock.error());
    cache.lock = std::move(*lock);
  }
  if (expectedSectors.value_or(layout->sectorCount) != layout->sectorCount) {
    return Failed(CacheFault{CacheFaultKind::kOtherSize, 0, layout->sectorCount});
  }
  cache.fileBytes = file->GetByteSize();
  if (!look && !file->SetReadOnly(false)) return FailedAs(CacheFaultKind::kCannotOpen);
  cFlatIO* backing = file.get();
  const cNestedIOResource resource{Owned<cBaseIO>(file.release())};
  cache.image.reset(new cKVRSparseIO);
  if (!cache.image->Open(&resource, look)) return FailedAs(CacheFaultKind::kCannotOpen);
  cache.created = fresh && cache.fileBytes == layout->DataStart() << kSectorShift;
  if (!cache.created) cache.damage = DamageOf(backing, *layout, cache.image.get());
  if (!cache.damage && !IsOwnHeader(backing, *layout)) {
    cache.damage = CacheFault{CacheFaultKind::kOtherHeader};
  }
  if (cache.damage && !look) return Failed(*cache.damage);
  // A run reads the log itself, and asks the source how many sectors there are.
  if (look && !cache.damage) cache.damage = DamageByLog(path, cache.image.get());
  return cache;
}

Result<Cache, CacheFault> CreateCache(const std::u16string& path, u64 sectors) {
  platform::SetLastFailure(0);
  UnfinishedFile made(path);
  if (!made.IsOpen()) return FailedAs(CacheFaultKind::kCannotCreate);
  const bool isLaid = LayImage(made, sectors);
  if (isLaid && made.TakeName(false)) return OpenFile(path, CacheAccess::kResume, sectors, true);
  const auto failed = FailedAs(CacheFaultKind::kCannotCreate);
  // Another run may have made the same cache meanwhile.
  const bool isThere = platform::KindOfPath(path.c_str()) == platform::PathKind::kFile;
  if (isLaid && isThere) return OpenFile(path, CacheAccess::kResume, sectors, false);
  return failed;
}

}  // namespace

bool EndsWithLastBlock(cBaseIO* file, const SparseLayout& layout) {
  constexpr u32 kEntriesInSector = kSectorBytes / 4;
  const u32 rest = static_cast<u32>(layout.IndexSectors() * kEntriesInSector - layout.BlockCount());
  std::array<u8, kSectorBytes> entries;
  if (!file->ReadBytes(entries.data(), SparseLayout::IndexByte(layout.BlockCount()), 4 * rest)) {
    return rest == 0;
  }
  return std::all_of(entries.begin(), entries.begin() + 4 * rest, [](u8 b) { return b == 0xFF; });
}

std::optional<CacheFault> DamageByLog(const std::u16string& path, cKVRSparseIO* image) {
  const auto history = HistoryOf(path, image->Layout());
  if (!history) return CacheFault{CacheFaultKind::kLogUnreadable, history.error()};
  const u64 sectors = history->source ? history->source->sectors : 0;
  if (sectors != 0 && sectors != image->GetSectorCount()) {
    return CacheFault{CacheFaultKind::kOtherHeader};
  }
  if (!IsStoringInDoubt(*history, path)) return std::nullopt;
  const auto zeros = ZerosIn(image, history->storing);
  if (!zeros) return CacheFault{CacheFaultKind::kUnreadable, platform::LastFailure()};
  // After a flush that failed, memory may show what the disk lacks.
  if (zeros->IsEmpty() && !history->syncFailed) return std::nullopt;
  return CacheFault{CacheFaultKind::kNotFlushed};
}

Result<std::shared_ptr<CacheLock>, CacheFault> LockCache(const std::u16string& path) {
  OwnedFile file(platform::OpenExistingFile(path.c_str(), kReadWrite));
  if (!file.IsOpen()) return FailedAs(CacheFaultKind::kCannotOpen);
  if (platform::LockFileAlone(file.Handle()) != platform::LockOutcome::kLockedElsewhere) {
    return std::make_shared<CacheLock>(std::move(file), platform::FullPath(path.c_str()));
  }
  auto shared = CacheLock::FindInProcess(file.Handle());
  if (!shared) return FailedAs(CacheFaultKind::kLockedElsewhere);
  return shared;
}

Result<Cache, CacheFault> OpenCache(const std::u16string& path, CacheAccess access,
                                    std::optional<u64> expectedSectors) {
  return OpenFile(path, access, expectedSectors, false);
}

bool MayBeCache(const std::u16string& path) {
  return HasNameOfCache(path) ||
         platform::KindOfPath(LogPathOf(path).c_str()) == platform::PathKind::kFile;
}

std::optional<Result<Cache, CacheFault>> OpenIfCache(const std::u16string& path) {
  auto cache = OpenCache(path, CacheAccess::kLook);
  if (cache) return cache;
  switch (cache.error().kind) {
    case CacheFaultKind::kAbsent:
    case CacheFaultKind::kFolder:
    case CacheFaultKind::kForeign:
      return std::nullopt;
    default:
      return cache;
  }
}

Result<Cache, CacheFault> OpenOrCreateCache(const std::u16string& path,
                                            const std::u16string& sourcePath, u64 sectors) {
  if (platform::AreSameFile(path.c_str(), sourcePath.c_str())) {
    return FailedAs(CacheFaultKind::kSameAsSource);
  }
  if (platform::IsFileOnDisk(path.c_str(), sourcePath.c_str())) {
    return FailedAs(CacheFaultKind::kOnSourceDisk);
  }
  auto cache = OpenCache(path, CacheAccess::kResume, sectors);
  if (cache || cache.error().kind != CacheFaultKind::kAbsent) return cache;
  return CreateCache(path, sectors);
}

}  // namespace larkspur
