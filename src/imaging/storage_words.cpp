// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/storage_words.h"

#include <algorithm>
#include <iterator>

#include <fmt/core.h>

#include "base/size_text.h"
#include "platform/device.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

struct CacheRow {
  CacheFaultKind kind;
  const char* words;
  bool toldBySystem = false;
};

// All but kOtherSize, which has numbers.
constexpr CacheRow kCacheRows[] = {
    {CacheFaultKind::kAbsent, "there is no such cache"},
    {CacheFaultKind::kCannotOpen, "the cache cannot be opened", true},
    {CacheFaultKind::kFolder, "this is a folder; name a file in it, such as disk.kvrsp"},
    {CacheFaultKind::kDeadLink, "this is a link to a file that is not there; choose another name"},
    {CacheFaultKind::kSameAsSource,
     "source and cache are the same file; the cache must be another one"},
    {CacheFaultKind::kOnSourceDisk,
     "this is on the disk that is being rescued, and writing there destroys what can still be "
     "saved; put the cache on another disk"},
    {CacheFaultKind::kForeign,
     "this file is not a cache and is left as it is; choose another name"},
    {CacheFaultKind::kDamagedHeader,
     "this is not a cache, or its header is damaged; 'larkspur check' says more"},
    {CacheFaultKind::kIncomplete,
     "the cache ends too early; 'larkspur check --repair' repairs what can be repaired"},
    {CacheFaultKind::kSharedRecord,
     "the cache's index gives two blocks the same record, so one of them reads as the other; "
     "'larkspur check' names them. Start a new cache"},
    {CacheFaultKind::kUnreadable,
     "part of the cache's index cannot be read; copy the file to a healthy disk, and work on the "
     "copy",
     true},
    {CacheFaultKind::kOtherHeader,
     "the cache's header does not match its index or its log, so part of the disk may be left out "
     "or out of place; restore the file from a copy"},
    {CacheFaultKind::kNotFlushed,
     "the last run did not end properly, and some of the zeros may stand for what never reached "
     "the disk; resume with 'larkspur image', which reads those sectors again"},
    {CacheFaultKind::kLogUnreadable,
     "the log cannot be read, so it is not known what was tried, nor whether all of the cache "
     "reached the disk; make it readable, or remove it if it is lost",
     true},
    {CacheFaultKind::kLockedElsewhere,
     "another run or an open storage is using this cache; wait for it to end, or close it"},
    {CacheFaultKind::kCannotCreate, "the cache cannot be created", true},
};

}  // namespace

FaultWords CannotOpenWords(u32 systemError) {
  const char* words = "it cannot be opened for reading";
  if (platform::IsNotPermitted(systemError)) {
    words = "you have no permission to read it; devices need root or administrator rights";
  } else if (platform::IsInUse(systemError)) {
    words = "another program is using it and does not let others read it";
  } else if (platform::IsDeviceGone(systemError)) {
    words = "the device is not there, or has no medium";
  }
  return {words, systemError};
}

FaultWords MapfileWords(const MapfileFault& fault) {
  if (fault.systemError != 0) return {"the mapfile cannot be read", fault.systemError};
  if (fault.detail.empty()) {
    return {"this is not a mapfile: it is larger than " + SizeText(kMaxMapfileBytes)};
  }
  if (fault.line == 0) return {"this is not a mapfile: " + fault.detail};
  return {fmt::format("line {}: {}", fault.line, fault.detail)};
}

FaultWords SourceWords(const std::u16string& path, const SourceFault& fault) {
  switch (fault.kind) {
    case SourceFaultKind::kCannotOpen:
      return CannotOpenWords(fault.systemError);
    case SourceFaultKind::kEmpty:
      if (platform::KindOfPath(path.c_str()) == platform::PathKind::kOther) {
        return {"this is neither a disk nor a regular file"};
      }
      return {"it is empty or has no medium: it has no whole sector of 512 bytes"};
    case SourceFaultKind::kTooLarge:
      return {fmt::format("it has {} sectors; a cache holds fewer than {}", fault.sectors,
                          kMaxSparseSectors)};
    case SourceFaultKind::kMapfile:
      return MapfileWords(fault.mapfile);
  }
  return {};
}

FaultWords CacheWords(const CacheFault& fault, u64 sourceSectors) {
  if (fault.kind == CacheFaultKind::kOtherSize) {
    return {
        fmt::format("the cache was made from a source of {}, but this one has {}; is it "
                    "another disk?",
                    CountText(fault.cacheSectors, "sector"), sourceSectors)};
  }
  const auto* const row =
      std::find_if(std::begin(kCacheRows), std::end(kCacheRows),
                   [&fault](const CacheRow& r) { return r.kind == fault.kind; });
  if (row == std::end(kCacheRows)) return {};
  return {row->words, row->toldBySystem ? fault.systemError : 0};
}

}  // namespace larkspur
