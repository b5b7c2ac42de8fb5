// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/open_storage.h"

#include "host/model/words.h"
#include "imaging/cache.h"
#include "imaging/source.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::host {
namespace {

std::string BecauseOf(u32 systemError) {
  return systemError ? ": " + platform::FailureText(systemError) : ".";
}

std::string SourceWords(const SourceFault& fault) {
  switch (fault.kind) {
    case SourceFaultKind::kCannotOpen:
      return "It cannot be opened for reading" + BecauseOf(fault.systemError);
    case SourceFaultKind::kEmpty:
      return "It is empty: it has no whole sector of 512 bytes.";
    case SourceFaultKind::kTooLarge:
      return "It has more sectors than a cache can hold.";
    case SourceFaultKind::kMapfile:
      if (fault.mapfile.detail.empty()) {
        return "The mapfile cannot be read" + BecauseOf(fault.mapfile.systemError);
      }
      return fmt::format("The mapfile is wrong in line {}: {}", fault.mapfile.line,
                         fault.mapfile.detail);
  }
  return {};
}

using Opening = Result<OpenedStorage, std::u16string>;

Opening Refused(const std::u16string& path, const std::string& words) {
  return Failed(Words("{}\n{}", Utf8(path), words));
}

Opening OpenSourceOf(OpenedStorage storage, const std::u16string& testMapfile) {
  auto source = OpenSource(storage.path, {.testMapfile = testMapfile});
  if (!source) return Refused(storage.path, SourceWords(source.error()));
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
  if (kind == platform::PathKind::kFolder) return Refused(path, "This is a folder.");
  if (kind == platform::PathKind::kDevice) storage.kind = StorageKind::kDrive;
  auto cache = OpenIfCache(storage.path);
  if (!cache) return OpenSourceOf(std::move(storage), testMapfile);
  if (!*cache) return Refused(storage.path, "It is a cache whose header is damaged.");
  storage.kind = StorageKind::kCache;
  storage.io.reset((*cache)->image.release());
  return storage;
}

}  // namespace larkspur::host
