// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/open_storage.h"

#include "host/model/words.h"
#include "imaging/storage_words.h"
#include "platform/device.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::host {
namespace {

using Opening = Result<OpenedStorage, std::u16string>;

// The path, and below it a sentence, and below that what the system said.
Opening Refused(const std::u16string& path, const FaultWords& fault) {
  std::string sentence = fault.text;
  if (sentence[0] >= 'a' && sentence[0] <= 'z') sentence[0] -= 'a' - 'A';
  sentence += fault.systemError ? ":\n" + platform::FailureText(fault.systemError) : ".";
  return Failed(Words("{}\n{}", Utf8(path), sentence));
}

Opening OpenSourceOf(OpenedStorage storage, const std::u16string& testMapfile) {
  auto source = OpenSource(storage.path, {.testMapfile = testMapfile});
  if (!source) {
    const bool isMapfile = source.error().kind == SourceFaultKind::kMapfile;
    return Refused(isMapfile ? testMapfile : storage.path,
                   SourceWords(storage.path, source.error()));
  }
  if (source->trailingBytes > 0) {
    storage.notice =
        Words("The last {} bytes are not a whole sector and are left out.", source->trailingBytes);
  }
  storage.io.reset(source->io.release());
  storage.traffic = source->traffic;
  return storage;
}

}  // namespace

Opening OpenStorage(const std::u16string& path, const std::u16string& testMapfile) {
  OpenedStorage storage;
  const platform::PathKind kind = platform::KindOfPath(path.c_str());
  storage.path = kind == platform::PathKind::kFile ? platform::FullPath(path.c_str()) : path;
  if (kind == platform::PathKind::kFolder) return Refused(path, {"this is a folder"});
  if (kind == platform::PathKind::kDevice) storage.kind = StorageKind::kDrive;
  auto cache = OpenIfCache(storage.path);
  if (!cache) return OpenSourceOf(std::move(storage), testMapfile);
  if (!*cache) {
    const CacheFault& fault = cache->error();
    return Refused(storage.path, fault.kind == CacheFaultKind::kCannotOpen
                                     ? CannotOpenWords(fault.systemError)
                                     : CacheWords(fault));
  }
  storage.kind = StorageKind::kCache;
  if ((*cache)->damage) {
    storage.notice =
        u"The cache is damaged, and shown as far as it can be; \"larkspur check\" says more.";
  }
  storage.io.reset((*cache)->image.release());
  return storage;
}

}  // namespace larkspur::host
