// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/open_storage.h"

#include "base/size_text.h"
#include "host/model/words.h"
#include "imaging/cache.h"
#include "imaging/source.h"
#include "platform/device.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::host {
namespace {

// "what: what the system said"
std::string WithSystemsWords(const std::string& what, u32 systemError) {
  return systemError ? what + ":\n" + platform::FailureText(systemError) : what + ".";
}

std::string CannotOpenWords(u32 systemError) {
  const char* words = "It cannot be opened for reading";
  if (platform::IsNotPermitted(systemError)) {
    words = "You have no permission to read it; devices need root or administrator rights";
  } else if (platform::IsInUse(systemError)) {
    words = "Another program is using it and does not let others read it";
  } else if (platform::IsDeviceGone(systemError)) {
    words = "The device is not there, or has no medium";
  }
  return WithSystemsWords(words, systemError);
}

std::string MapfileWords(const MapfileFault& fault) {
  if (fault.systemError != 0) {
    return WithSystemsWords("The mapfile cannot be read", fault.systemError);
  }
  if (fault.detail.empty()) {
    return "This is not a mapfile: it is larger than " + SizeText(kMaxMapfileBytes) + ".";
  }
  if (fault.line == 0) return "This is not a mapfile: " + fault.detail + ".";
  return fmt::format("The mapfile is wrong in line {}: {}", fault.line, fault.detail);
}

std::string SourceWords(const SourceFault& fault) {
  switch (fault.kind) {
    case SourceFaultKind::kCannotOpen:
      return CannotOpenWords(fault.systemError);
    case SourceFaultKind::kEmpty:
      return "It is empty or has no medium: it has no whole sector of 512 bytes.";
    case SourceFaultKind::kTooLarge:
      return "It has more sectors than a cache can hold.";
    case SourceFaultKind::kMapfile:
      return MapfileWords(fault.mapfile);
  }
  return {};
}

using Opening = Result<OpenedStorage, std::u16string>;

Opening Refused(const std::u16string& path, const std::string& words) {
  return Failed(Words("{}\n{}", Utf8(path), words));
}

Opening OpenSourceOf(OpenedStorage storage, const std::u16string& testMapfile) {
  auto source = OpenSource(storage.path, {.testMapfile = testMapfile});
  if (!source) {
    const bool isMapfile = source.error().kind == SourceFaultKind::kMapfile;
    return Refused(isMapfile ? testMapfile : storage.path, SourceWords(source.error()));
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
  if (kind == platform::PathKind::kFolder) return Refused(path, "This is a folder.");
  if (kind == platform::PathKind::kDevice) storage.kind = StorageKind::kDrive;
  auto cache = OpenIfCache(storage.path);
  if (!cache) return OpenSourceOf(std::move(storage), testMapfile);
  if (!*cache && cache->error().kind == CacheFaultKind::kCannotOpen) {
    return Refused(storage.path, CannotOpenWords(cache->error().systemError));
  }
  if (!*cache) {
    return Refused(storage.path,
                   "This is not a cache, or its header is damaged; \"larkspur check\" says more.");
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
